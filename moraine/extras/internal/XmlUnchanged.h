#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "moraine/extras/internal/Search.h"

/// @file
/// Most of most documents is in the form already that the reader takes. What is at hand of that is found here, to be
/// copied in one piece.

namespace moraine::extras {

/// Up to so many attributes are compared each with each other.
constexpr std::size_t few = 12;

/// The names of the open elements, outermost first.
class OpenNames {
public:
    [[nodiscard]] bool empty() const { return begins.empty(); }
    [[nodiscard]] std::string_view innermost() const { return std::string_view(names).substr(begins.back()); }

    void open(std::string_view name) {
        begins.push_back(names.size());
        names.append(name);
    }

    void close() {
        names.resize(begins.back());
        begins.pop_back();
    }

private:
    std::string names;
    std::vector<std::size_t> begins;
};

/// What ends or changes a text.
constexpr auto textStops = [](auto unit) { return unit.is('>', '>' ^ '<') | unit.is('&'); };

/// What ends or changes a comment.
constexpr auto commentStops = [](auto unit) { return unit.is('-') | unit.is('&'); };

/// What ends or changes an attribute's value.
inline auto valueStops(char quote) {
    return
        [quote](auto unit) { return unit.is(static_cast<unsigned char>(quote)) | textStops(unit) | unit.below(' '); };
}

/// The length of the reference to one of the five entities that @p text begins with, or 0.
std::size_t predefinedLength(std::string_view text);

/// The length of the reference that @p text begins with, if it can stay as it is: one of the five, or a number that the
/// reader takes, and takes for that character. 0 otherwise.
std::size_t plainReferenceLength(std::string_view text);

/// The first byte that stops, and begins no reference that can stay as it is.
template <class Stops>
const char* passReferences(const char* at, const char* end, Stops stops) {
    for (;;) {
        at = findStop(at, end, stops);
        const std::size_t length = *at == '&' ? plainReferenceLength({at, static_cast<std::size_t>(end - at)}) : 0;
        if (length == 0) {
            return at;
        }
        at += length;
    }
}

/// The end of the tags, comments and texts within the root element that can stay as they are; @p at itself if the first
/// one cannot. A zero byte stands at @p end. White-space before a tag is dropped by the reader, or kept as a text.
const char* passUnchanged(const char* at, const char* end, OpenNames& open, bool keepsWhite);

}  // namespace moraine::extras
