#pragma once

#include <QtGlobal>

namespace Marblewick {

/*! Result of a common-crypto operation: 0 or one of the negative statuses below. */
using CCStatus = qint32;
using CCCryptorStatus = CCStatus;

inline constexpr CCStatus kCCSuccess = 0;
/*! An argument is missing or makes no sense. */
inline constexpr CCStatus kCCParamError = -4300;
/*! The result does not fit into the buffer given. */
inline constexpr CCStatus kCCBufferTooSmall = -4301;
/*! The input is not a whole number of blocks. */
inline constexpr CCStatus kCCAlignmentError = -4303;
/*! The padding is not what an encryption with this key leaves: wrong key or damaged data. */
inline constexpr CCStatus kCCDecodeError = -4304;
/*! The algorithm or the option is not offered. */
inline constexpr CCStatus kCCUnimplemented = -4305;
/*! Anything else, such as a library that cannot be loaded or refuses to work. */
inline constexpr CCStatus kCCUnspecifiedError = -4308;
/*! The key has a length that the algorithm does not take. */
inline constexpr CCStatus kCCKeySizeError = -4310;

} // namespace Marblewick
