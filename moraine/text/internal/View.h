#pragma once

#include <string_view>

#include "moraine/text/WideChar.h"

namespace moraine::text {

/// A zero-terminated text without its terminator; empty if it is null.
inline std::string_view view(const char* text) noexcept {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

inline std::u16string_view view(const WideChar* text) noexcept {
    return {text, lengthOf(text)};
}

}  // namespace moraine::text
