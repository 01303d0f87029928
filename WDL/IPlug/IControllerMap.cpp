#include "IControllerMap.h"

#include "IPlugBase.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace
{
std::string Trim(const std::string& s)
{
  const size_t b = s.find_first_not_of(" \t\r");
  if (b == std::string::npos) return "";
  return s.substr(b, s.find_last_not_of(" \t\r") - b + 1);
}

// A whole decimal number and nothing else, within lo..hi.
bool ReadNumber(const std::string& text, int lo, int hi, int* out)
{
  if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) return false;
  const int n = atoi(text.c_str());
  if (n < lo || n > hi) return false;
  *out = n;
  return true;
}

int FindParam(IPlugBase* plug, const std::string& name)
{
  for (int i = 0; plug && i < plug->NParams(); ++i)
  {
    const char* own = plug->GetParam(i)->GetNameForHost();
    if (own && *own && !strcasecmp(own, name.c_str())) return i;
  }
  return -1;
}
} // namespace

IControllerMap::IControllerMap()
{
  for (int cc = 0; cc < kControllers; ++cc)
  {
    mParam[cc] = -1;
    mLastValue[cc] = -1;
    mGave[cc] = -1.0;
  }
}

int IControllerMap::ControllerFor(int paramIdx) const
{
  for (int cc = 0; cc < kControllers; ++cc)
    if (paramIdx >= 0 && mParam[cc] == paramIdx) return cc;
  return -1;
}

int IControllerMap::Count() const
{
  int n = 0;
  for (int cc = 0; cc < kControllers; ++cc) n += mParam[cc] >= 0;
  return n;
}

bool IControllerMap::Bind(int cc, int paramIdx)
{
  if (!Learnable(cc) || paramIdx < 0) return false;
  for (int other = 0; other < kControllers; ++other)
    if (mParam[other] == paramIdx) Forget(other);
  mParam[cc] = paramIdx;
  mGave[cc] = -1.0; // a new binding takes hold by pick-up, as at a start
  return true;
}

void IControllerMap::Forget(int cc)
{
  if (cc < 0 || cc >= kControllers) return;
  mParam[cc] = -1;
  mGave[cc] = -1.0;
}

void IControllerMap::ForgetAll()
{
  for (int cc = 0; cc < kControllers; ++cc) Forget(cc);
}

void IControllerMap::SetWheelRange(int semitones) { mWheelRange = semitones < 1 ? 1 : semitones > 24 ? 24 : semitones; }

bool IControllerMap::Takes(int cc, int value, double now)
{
  if (!Learnable(cc)) return false;
  if (!mPickUp || mGave[cc] == now) return true;
  // Within half a step of 127, or crossed since the controller's last
  // value: the controller has reached the parameter.
  const double at = value / 127.0;
  if (std::fabs(at - now) <= 0.5 / 127.0) return true;
  const int last = mLastValue[cc];
  mLastValue[cc] = value;
  return last >= 0 && (last / 127.0 - now) * (at - now) <= 0.0;
}

void IControllerMap::Took(int cc, int value, double normalized)
{
  if (!Learnable(cc)) return;
  mLastValue[cc] = value;
  mGave[cc] = normalized;
}

void IControllerMap::Read(const std::string& text, IPlugBase* plug, std::string* complaints)
{
  *this = IControllerMap();
  std::string section;
  size_t pos = 0;
  for (int line = 1; pos < text.size(); ++line)
  {
    size_t eol = text.find('\n', pos);
    if (eol == std::string::npos) eol = text.size();
    std::string s = text.substr(pos, eol - pos);
    pos = eol + 1;
    const size_t comment = s.find_first_of(";#");
    if (comment != std::string::npos) s.erase(comment);
    s = Trim(s);
    std::string why;
    if (s.empty()) continue;
    if (s[0] == '[')
    {
      if (s.back() == ']')
        section = Trim(s.substr(1, s.size() - 2));
      else
        why = "a section's name must end with ]";
      if (why.empty() && strcasecmp(section.c_str(), "controllers") && strcasecmp(section.c_str(), "options"))
        why = "no section \"" + section + "\" is known; its lines are skipped";
    }
    else if (s.find('=') == std::string::npos)
      why = "not \"name = value\"";
    else
    {
      const size_t eq = s.find('=');
      ReadLine(section, Trim(s.substr(0, eq)), Trim(s.substr(eq + 1)), plug, &why);
    }
    if (!why.empty() && complaints) *complaints += "line " + std::to_string(line) + ": " + why + "\n";
  }
}

void IControllerMap::ReadLine(const std::string& section, const std::string& key, const std::string& value,
                              IPlugBase* plug, std::string* why)
{
  if (!strcasecmp(section.c_str(), "controllers"))
  {
    int cc = -1;
    const bool named = key.size() > 3 && !strncasecmp(key.c_str(), "CC ", 3);
    if (!named || !ReadNumber(Trim(key.substr(3)), 0, 127, &cc) || !Learnable(cc))
      *why = "\"" + key + "\" is not a controller that can be learned (CC 1 to 119, but 32 and 64)";
    else if (FindParam(plug, value) < 0)
      *why = "no parameter is called \"" + value + "\"";
    else if (mParam[cc] >= 0)
      *why = "CC " + std::to_string(cc) + " is bound twice; the first binding is kept";
    else
      Bind(cc, FindParam(plug, value));
  }
  else if (!strcasecmp(section.c_str(), "options"))
  {
    int range = 0;
    if (!strcasecmp(key.c_str(), "pick up") && (!strcasecmp(value.c_str(), "on") || !strcasecmp(value.c_str(), "off")))
      mPickUp = !strcasecmp(value.c_str(), "on");
    else if (!strcasecmp(key.c_str(), "wheel range") && ReadNumber(value, 1, 24, &range))
      mWheelRange = range;
    else
      *why = "\"" + key + " = " + value + "\" is not an option (pick up = on or off; wheel range = 1 to 24)";
  }
  else if (section.empty())
    *why = "outside the [controllers] and [options] sections";
  // The lines of an unknown section were named at its head.
}

std::string IControllerMap::Write(IPlugBase* plug) const
{
  std::string text = "; VELTRA's MIDI controllers: \"CC number = parameter\". Kept for every program.\n"
                     "[controllers]\n";
  for (int cc = 0; cc < kControllers; ++cc)
    if (mParam[cc] >= 0 && plug && mParam[cc] < plug->NParams())
      text += "CC " + std::to_string(cc) + " = " + plug->GetParam(mParam[cc])->GetNameForHost() + "\n";
  text += "[options]\npick up = ";
  text += mPickUp ? "on" : "off";
  text += "\nwheel range = " + std::to_string(mWheelRange) + "\n";
  return text;
}

bool IControllerMap::operator==(const IControllerMap& other) const
{
  return !memcmp(mParam, other.mParam, sizeof(mParam)) && mPickUp == other.mPickUp && mWheelRange == other.mWheelRange;
}
