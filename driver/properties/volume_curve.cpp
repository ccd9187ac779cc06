#include "driver/properties/volume_curve.h"

#include <cfloat>
#include <cmath>

static_assert(FLT_EVAL_METHOD == 0, "the curve's steps are rounded to single precision one by one");

namespace {

constexpr Float32 kSpan = kVADMaxDecibels - kVADMinDecibels;

Float32 Clamp(Float32 nValue, Float32 nLow, Float32 nHigh) {
    if (!(nValue > nLow)) // a NaN and the negative zero as well
        return nLow;
    return nValue > nHigh ? nHigh : nValue;
}

Float32 ClampDecibels(Float32 nDecibels) {
    return Clamp(nDecibels, kVADMinDecibels, kVADMaxDecibels);
}

} // namespace

Float32 LVADClampScalar(Float32 nScalar) {
    return Clamp(nScalar, 0.0f, 1.0f);
}

Float32 LVADScalarToDecibels(Float32 nScalar) {
    nScalar = LVADClampScalar(nScalar);
    return nScalar * nScalar * kSpan + kVADMinDecibels;
}

Float32 LVADDecibelsToScalar(Float32 nDecibels) {
    return std::sqrt((ClampDecibels(nDecibels) - kVADMinDecibels) / kSpan);
}
