// Writes the renderer's benchmark input: 60 seconds of 8-note chords, a new
// chord every half second, each held for 0.45 s. Format 0, 480 ticks a
// quarter at 120 beats a minute (960 ticks a second).

#include <cstdio>
#include <vector>

namespace
{
void VLQ(std::vector<unsigned char>& t, unsigned int v)
{
  unsigned char bytes[4];
  int n = 0;
  do {
    bytes[n++] = v & 0x7F;
    v >>= 7;
  } while (v);
  while (n--) t.push_back((unsigned char)(bytes[n] | (n ? 0x80 : 0)));
}
} // namespace

int main(int argc, char** argv)
{
  if (argc != 2)
  {
    fprintf(stderr, "usage: make_chords OUT.mid\n");
    return 2;
  }
  std::vector<unsigned char> t;
  const int roots[4] = {36, 41, 43, 38};
  for (int c = 0; c < 120; ++c)
  {
    const int root = roots[c % 4];
    for (int k = 0; k < 8; ++k)
    {
      VLQ(t, k == 0 && c > 0 ? 48 : 0); // the rest of the half second
      t.insert(t.end(), {0x90, (unsigned char)(root + 5 * k), 100});
    }
    for (int k = 0; k < 8; ++k)
    {
      VLQ(t, k == 0 ? 432 : 0); // held 0.45 s
      t.insert(t.end(), {0x80, (unsigned char)(root + 5 * k), 0});
    }
  }
  t.insert(t.end(), {0, 0xFF, 0x2F, 0});
  FILE* f = fopen(argv[1], "wb");
  if (!f) return 1;
  const unsigned char head[] = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 0x01, 0xE0, 'M', 'T', 'r', 'k'};
  fwrite(head, 1, sizeof(head), f);
  const unsigned int n = (unsigned int)t.size();
  const unsigned char len[] = {(unsigned char)(n >> 24), (unsigned char)(n >> 16), (unsigned char)(n >> 8),
                               (unsigned char)n};
  fwrite(len, 1, 4, f);
  fwrite(t.data(), 1, t.size(), f);
  return fclose(f) ? 1 : 0;
}
