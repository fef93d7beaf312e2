#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "moraine/text/internal/Search.h"

namespace moraine::text {

/// A copy of the text in which each occurrence of @p search, from left to right and none overlapping another, has
/// become @p replacement. An empty @p search gives a plain copy.
template <class Unit>
std::unique_ptr<std::basic_string<Unit>> replaced(std::basic_string_view<Unit> text,
                                                  std::basic_string_view<Unit> search,
                                                  std::basic_string_view<Unit> replacement) {
    auto result = std::make_unique<std::basic_string<Unit>>();
    result->reserve(text.size());
    std::size_t copied = 0;
    if (!search.empty()) {
        constexpr std::size_t none = std::basic_string_view<Unit>::npos;
        Search<Unit> hits(search);
        for (std::size_t hit = hits.find(text, 0); hit != none; hit = hits.find(text, copied)) {
            result->append(text, copied, hit - copied).append(replacement);
            copied = hit + search.size();
        }
    }
    result->append(text, copied);
    return result;
}

}  // namespace moraine::text
