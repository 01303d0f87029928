#pragma once
// One automatable value of a plug-in: its value in real units, bounds,
// step, the shape that maps it to and from 0..1, and its display text. Made
// blank by the plug-in base; exactly one Init... call gives it its kind.
// No lock of its own: users share it under the plug-in's mutex.

#include "../heapbuf.h"

double FromNormalizedParam(double normalized, double min, double max, double shape);
double ToNormalizedParam(double nonNormalized, double min, double max, double shape);
double DBToAmp(double dB);

class IParam
{
public:
  enum EParamType
  {
    kTypeNone = 0,
    kTypeBool = 1,
    kTypeInt = 2,
    kTypeEnum = 3,
    kTypeDouble = 4
  };

  IParam();

  // The outermost Init call decides the kind; each calls the next in the
  // chain Bool -> Enum -> Int -> Double.
  void InitBool(const char* name, bool defaultVal, const char* label = "", const char* group = "");
  void InitEnum(const char* name, int defaultVal, int nEnums, const char* label = "", const char* group = "");
  void InitInt(const char* name, int defaultVal, int minVal, int maxVal, const char* label = "",
               const char* group = "");
  void InitDouble(const char* name, double defaultVal, double minVal, double maxVal, double step,
                  const char* label = "", const char* group = "", double shape = 1.0);

  void SetDisplayText(int value, const char* text);
  void SetShape(double shape);
  // Limited to the bounds; not rounded to the step.
  void Set(double value);
  // Rounded to the step for every kind but double; limited above only.
  void SetNormalized(double normalized);

  double Value() const { return mValue; }
  int Int() const { return (int)mValue; }
  bool Bool() const { return mValue >= 0.5; }
  double DBToAmp() const { return ::DBToAmp(mValue); }
  double GetNormalized() const { return GetNormalized(mValue); }
  double GetNormalized(double nonNormalized) const;
  double GetNonNormalized(double normalized) const;
  double GetDefault() const { return mDefault; }
  double GetStep() const { return mStep; }
  double GetShape() const { return mShape; }
  int GetDisplayPrecision() const { return mDisplayPrecision; }

  // rDisplay holds at least 32 characters; numbers use "." whatever the locale.
  void GetDisplayForHost(double value, bool normalized, char* rDisplay, bool withDisplayText = true) const;
  void GetDisplayForHost(char* rDisplay) const { GetDisplayForHost(mValue, false, rDisplay, true); }
  void GetDisplayForHostNoDisplayText(char* rDisplay) const { GetDisplayForHost(mValue, false, rDisplay, false); }
  const char* GetDisplayText(int value) const;
  const char* GetDisplayTextAtIdx(int idx, int* value = nullptr) const;
  int GetNDisplayTexts() const { return mDisplayTexts.GetSize(); }
  bool MapDisplayText(const char* str, int* value) const;

  const char* GetNameForHost() const { return mName; }
  const char* GetLabelForHost() const;
  const char* GetParamGroupForHost() const { return mParamGroup; }
  void GetBounds(double* lo, double* hi) const
  {
    *lo = mMin;
    *hi = mMax;
  }
  EParamType Type() const { return mType; }
  bool DisplayIsNegated() const { return mNegateDisplay; }

private:
  struct DisplayText
  {
    int mValue;
    char mText[32];
  };

  EParamType mType = kTypeNone;
  double mValue = 0.0;
  double mMin = 0.0;
  double mMax = 1.0;
  double mStep = 1.0;
  double mShape = 1.0;
  double mDefault = 0.0;
  int mDisplayPrecision = 0;
  char mName[32];
  char mLabel[32];
  char mParamGroup[32];
  bool mNegateDisplay = false;
  bool mCanAutomate = true;
  bool mIsMeta = false;
  WDL_TypedBuf<DisplayText> mDisplayTexts;
};
