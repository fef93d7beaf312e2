#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "moraine/text/internal/Scan.h"

namespace moraine::text {

/// The index of the first char equal to @p wanted, or @p length.
inline std::size_t findUnit(const char* text, std::size_t length, char wanted) noexcept {
    const void* const hit = length == 0 ? nullptr : std::memchr(text, wanted, length);
    return hit == nullptr ? length : static_cast<std::size_t>(static_cast<const char*>(hit) - text);
}

inline std::size_t findUnit(const WideChar* text, std::size_t length, WideChar wanted) noexcept {
    return scan::find(text, length, wanted);
}

/// The index of the first occurrence of @p search, which is not empty, at or behind @p from, or the text's size.
template <class Unit>
std::size_t findText(std::basic_string_view<Unit> text, std::basic_string_view<Unit> search, std::size_t from) {
    while (text.size() - from >= search.size()) {
        const std::size_t places = text.size() - search.size() + 1 - from;
        const std::size_t hit = findUnit(text.data() + from, places, search[0]);
        if (hit == places) {
            break;
        }
        from += hit;
        if (text.compare(from + 1, search.size() - 1, search.substr(1)) == 0) {
            return from;
        }
        ++from;
    }
    return text.size();
}

/// A copy of the text in which each occurrence of @p search, from left to right and none overlapping another, has
/// become @p replacement. An empty @p search gives a plain copy.
template <class Unit>
std::unique_ptr<std::basic_string<Unit>> replaced(std::basic_string_view<Unit> text,
                                                  std::basic_string_view<Unit> search,
                                                  std::basic_string_view<Unit> replacement) {
    auto result = std::make_unique<std::basic_string<Unit>>();
    result->reserve(text.size());
    std::size_t copied = 0;
    std::size_t hit = search.empty() ? text.size() : findText(text, search, 0);
    while (hit < text.size()) {
        result->append(text, copied, hit - copied).append(replacement);
        copied = hit + search.size();
        hit = findText(text, search, copied);
    }
    result->append(text, copied);
    return result;
}

}  // namespace moraine::text
