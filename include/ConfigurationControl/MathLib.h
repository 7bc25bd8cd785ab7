/** @file
 * Numeric helpers: turning doubles into integers without surprises.
 *
 * "Rounded" always means half away from zero (2.5 gives 3, -2.5 gives -3), computed as floor(x + 0.5) and its mirror
 * image; a NaN rounds to 0, and a value whose magnitude exceeds 2^52 - 1 is taken as it is. "Saturated" means that a
 * value beyond the type's range gives the nearest bound. All functions are pure, take no locks and never throw.
 */
#ifndef CONFIGURATIONCONTROL_MATHLIB_H
#define CONFIGURATIONCONTROL_MATHLIB_H

#include "ConfigurationControl/CxxOnly.h"

#include "ConfigurationControl/Export.h"

/** Numbers. */
namespace MathLib {

/** The one NaN that tickets store: bits 0x7FF8000000000000. Usable before main; a walk hands out its address. */
CONFIGURATIONCONTROL_API extern double const NOT_A_DOUBLE_NUMBER;
/** The quiet NaN with bits 0x7FC00000. Usable before main. */
CONFIGURATIONCONTROL_API extern float const NOT_A_FLOAT_NUMBER;

/** Whether all exponent bits are set: true for every NaN, and deliberately for both infinities. */
CONFIGURATIONCONTROL_API bool IsNotANumber(double value) noexcept;
/** @copydoc IsNotANumber(double) */
CONFIGURATIONCONTROL_API bool IsNotANumber(float value) noexcept;

/**
 * The floor of `value` raised by |epsilon * value|, saturated: a value just below an integer counts as that integer
 * (2.9999999 with 1e-6 gives 3). NaN gives -2147483648.
 */
CONFIGURATIONCONTROL_API int EpsilonFloorToInt(double value, double epsilon) noexcept;
/** The ceiling of `value` lowered by |epsilon * value|, saturated. NaN gives -2147483648. */
CONFIGURATIONCONTROL_API int EpsilonCeilToInt(double value, double epsilon) noexcept;
/** As EpsilonFloorToInt, saturated to 0 .. 4294967295. NaN gives 0. */
CONFIGURATIONCONTROL_API unsigned int EpsilonFloorToUnsigned(double value, double epsilon) noexcept;
/** As EpsilonCeilToInt, saturated to 0 .. 4294967295. NaN gives 0. */
CONFIGURATIONCONTROL_API unsigned int EpsilonCeilToUnsigned(double value, double epsilon) noexcept;

/** Rounded. NaN gives 0, infinities stay, zero of either sign gives +0. */
CONFIGURATIONCONTROL_API double Round(double value) noexcept;
/** Rounded to a multiple of `granularity`; unchanged when `granularity` is below 1. */
CONFIGURATIONCONTROL_API double RoundToBigGranularity(double value, int granularity) noexcept;
/** Rounded to a multiple of 1 / `granularity`; unchanged when `granularity` is below 1. */
CONFIGURATIONCONTROL_API double RoundToSmallGranularity(double value, int granularity) noexcept;

/** Rounded and saturated. NaN gives 0. */
CONFIGURATIONCONTROL_API int RoundToInt(double value) noexcept;
/** Rounded and saturated. NaN gives 0. */
CONFIGURATIONCONTROL_API unsigned int RoundToUnsigned(double value) noexcept;
/** Rounded and saturated. NaN gives 0. */
CONFIGURATIONCONTROL_API long long RoundToI64(double value) noexcept;
/** Rounded and saturated, except that an infinity of either sign gives 18446744073709551615. NaN gives 0. */
CONFIGURATIONCONTROL_API unsigned long long RoundToU64(double value) noexcept;
/** Cut toward zero and saturated, except that an infinity of either sign, and NaN, give 18446744073709551615. */
CONFIGURATIONCONTROL_API unsigned long long DoubleToU64(double value) noexcept;
/**
 * The nearest double. From 2^63 up ties go upward, and nothing exceeds 18446744073709549568.0, the largest double below
 * 2^64, so that the result can always be converted back.
 */
CONFIGURATIONCONTROL_API double U64ToDouble(unsigned long long value) noexcept;

/**
 * The rounded value when `value` lies within `tolerance` of it, otherwise `value` unchanged. The tolerance is relative
 * to the rounded value, absolute when that is 0. NaN gives 0; a NaN tolerance always rounds.
 */
CONFIGURATIONCONTROL_API double MagneticInt(double value, double tolerance) noexcept;

/**
 * The resolution an encoder can really give: `encoderResolution` divided by the whole number of encoder steps that best
 * fits one step of the wanted `resolution`; both in the same unit. NaN unless 0 < resolution <= encoderResolution.
 */
CONFIGURATIONCONTROL_API double ResolutionToEncoderGranularity(double resolution, double encoderResolution) noexcept;

}  // namespace MathLib

#endif
