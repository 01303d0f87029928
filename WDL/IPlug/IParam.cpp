#include "IParam.h"

#include "cnumbers.h"
#include <cmath>
#include <cstdio>
#include <cstring>

namespace
{
// Names, labels and texts are fixed arrays of 32: longer ones are cut.
void CopyText(char* dest, const char* src) { snprintf(dest, 32, "%s", src ? src : ""); }
} // namespace

double FromNormalizedParam(double normalized, double min, double max, double shape)
{
  return min + pow(normalized, shape) * (max - min);
}

double ToNormalizedParam(double nonNormalized, double min, double max, double shape)
{
  return pow((nonNormalized - min) / (max - min), 1.0 / shape);
}

double DBToAmp(double dB) { return exp(dB * 0.1151292546497); }

IParam::IParam() : mDisplayTexts(4096) { mName[0] = mLabel[0] = mParamGroup[0] = 0; }

void IParam::InitBool(const char* name, bool defaultVal, const char* label, const char* group)
{
  if (mType == kTypeNone) mType = kTypeBool;
  InitEnum(name, defaultVal ? 1 : 0, 2, label, group);
  SetDisplayText(0, "off");
  SetDisplayText(1, "on");
}

void IParam::InitEnum(const char* name, int defaultVal, int nEnums, const char* label, const char* group)
{
  if (mType == kTypeNone) mType = kTypeEnum;
  InitInt(name, defaultVal, 0, nEnums - 1, label, group);
}

void IParam::InitInt(const char* name, int defaultVal, int minVal, int maxVal, const char* label, const char* group)
{
  if (mType == kTypeNone) mType = kTypeInt;
  InitDouble(name, (double)defaultVal, (double)minVal, (double)maxVal, 1.0, label, group, 1.0);
}

void IParam::InitDouble(const char* name, double defaultVal, double minVal, double maxVal, double step,
                        const char* label, const char* group, double shape)
{
  if (mType == kTypeNone) mType = kTypeDouble;
  CopyText(mName, name);
  CopyText(mLabel, label);
  CopyText(mParamGroup, group);
  mValue = defaultVal; // as given: not limited to the bounds
  mMin = minVal;
  mMax = maxVal > minVal + step ? maxVal : minVal + step; // at least one step wide
  mStep = step;
  mDefault = defaultVal;
  // One digit for each decimal place of the step, at most 6.
  double s = step;
  for (mDisplayPrecision = 0; mDisplayPrecision < 6 && s != floor(s); ++mDisplayPrecision) s *= 10.0;
  SetShape(shape);
}

void IParam::SetDisplayText(int value, const char* text)
{
  DisplayText dt;
  dt.mValue = value;
  CopyText(dt.mText, text);
  mDisplayTexts.Add(dt);
}

void IParam::SetShape(double shape)
{
  if (shape != 0.0) mShape = shape;
}

void IParam::Set(double value)
{
  // A NaN, as a damaged state may hold, is no value in range: it becomes
  // the lower bound.
  if (value != value) value = mMin;
  mValue = value < mMin ? mMin : value > mMax ? mMax : value;
}

void IParam::SetNormalized(double normalized)
{
  mValue = FromNormalizedParam(normalized, mMin, mMax, mShape);
  if (mType != kTypeDouble) mValue = floor(0.5 + mValue / mStep) * mStep;
  if (mValue > mMax) mValue = mMax;
}

double IParam::GetNormalized(double nonNormalized) const
{
  const double v = nonNormalized < mMin ? mMin : nonNormalized > mMax ? mMax : nonNormalized;
  return ToNormalizedParam(v, mMin, mMax, mShape);
}

double IParam::GetNonNormalized(double normalized) const { return FromNormalizedParam(normalized, mMin, mMax, mShape); }

void IParam::GetDisplayForHost(double value, bool normalized, char* rDisplay, bool withDisplayText) const
{
  if (normalized) value = FromNormalizedParam(value, mMin, mMax, mShape);
  if (withDisplayText)
  {
    const char* text = GetDisplayText((int)value);
    if (*text)
    {
      strcpy(rDisplay, text);
      return;
    }
  }
  if (mNegateDisplay) value = -value;
  if (mDisplayPrecision == 0)
    sprintf(rDisplay, "%d", (int)value);
  else
    WDL_snprintf_c(rDisplay, 32, "%.*f", mDisplayPrecision, value);
}

const char* IParam::GetDisplayText(int value) const
{
  const DisplayText* dt = mDisplayTexts.Get();
  for (int i = 0; i < mDisplayTexts.GetSize(); ++i)
    if (dt[i].mValue == value) return dt[i].mText;
  return "";
}

const char* IParam::GetDisplayTextAtIdx(int idx, int* value) const
{
  const DisplayText& dt = mDisplayTexts.Get()[idx];
  if (value) *value = dt.mValue;
  return dt.mText;
}

bool IParam::MapDisplayText(const char* str, int* value) const
{
  const DisplayText* dt = mDisplayTexts.Get();
  for (int i = 0; i < mDisplayTexts.GetSize(); ++i)
  {
    if (!strcmp(str, dt[i].mText))
    {
      *value = dt[i].mValue;
      return true;
    }
  }
  return false;
}

const char* IParam::GetLabelForHost() const { return *GetDisplayText((int)mValue) ? "" : mLabel; }
