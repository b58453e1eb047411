#include "Platform/Foundation/NSCoder.h"

#include "Platform/Foundation/NSException.h"

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

[[noreturn]] void refuse(QLatin1StringView operation, QLatin1StringView key)
{
    throw NSException(NSInvalidArgumentException,
                      u"This coder does not do %1 (for the key “%2”)."_s.arg(operation, key));
}

} // namespace

NSCoder::~NSCoder() = default;

void NSCoder::encodeObject(const std::optional<QString> &, QLatin1StringView key)
{
    refuse("encodeObject"_L1, key);
}

void NSCoder::encodeObject(const std::optional<QUrl> &, QLatin1StringView key)
{
    refuse("encodeObject"_L1, key);
}

void NSCoder::encodeInteger(qint64, QLatin1StringView key) { refuse("encodeInteger"_L1, key); }

qint64 NSCoder::decodeIntegerForKey(QLatin1StringView key) { refuse("decodeIntegerForKey"_L1, key); }

std::optional<QString> NSCoder::decodeString(QLatin1StringView key) { refuse("decodeObjectOfClass"_L1, key); }

std::optional<QUrl> NSCoder::decodeURL(QLatin1StringView key) { refuse("decodeObjectOfClass"_L1, key); }

} // namespace Marblewick
