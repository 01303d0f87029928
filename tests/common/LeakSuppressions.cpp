// Leaks inside system libraries that our code cannot free, read by the leak
// checker at exit: fontconfig keeps its caches for the life of the process,
// and RtMidi's JACK back-end drops its ring buffer when no server answers.
extern "C" const char* __lsan_default_suppressions()
{
  return "leak:libfontconfig.so\n"
         "leak:jack_ringbuffer_create\n";
}
