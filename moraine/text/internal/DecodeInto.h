#pragma once

#include <cstddef>

#include "moraine/text/UTF8Decoder.h"

namespace moraine::text {

/// The number of units that `decodeInto` writes at most for so many bytes.
constexpr std::size_t mostUnits(std::size_t bytes) noexcept {
    return bytes + 3;  // that were held
}

/// As `UTF8Decoder::doDecodeM2W`, but writes to @p target, which has room for `mostUnits(length)` units, and returns
/// how many units it wrote.
std::size_t decodeInto(UTF8Decoder& decoder, const char* bytes, unsigned int length, bool last, WideChar* target);

}  // namespace moraine::text
