#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

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

/// Looks for a run of units in a text, in time linear in the lengths of both for all searches together.
///
/// At first it looks for the first unit and compares what follows. Where that costs more than it has got on with, which
/// texts are made for, it goes on in another way: the borders of the run tell how much of a try that failed still
/// stands, so that no unit of the text is looked at again.
template <class Unit>
class Search {
public:
    using View = std::basic_string_view<Unit>;

    /// @param run not empty, and to live as long as this object
    explicit Search(View run) noexcept : wanted(run) {}

    /// The index of the first occurrence at or after @p from, which is not after the text; `npos` if there is none.
    /// @throws std::bad_alloc
    std::size_t find(View text, std::size_t from) {
        while (credit >= 0) {
            if (text.size() - from < wanted.size()) {
                return View::npos;
            }
            const std::size_t places = text.size() - wanted.size() + 1 - from;
            const std::size_t hit = findUnit(text.data() + from, places, wanted[0]);
            if (hit == places) {
                return View::npos;
            }
            from += hit;
            const std::ptrdiff_t same =
                std::mismatch(wanted.begin(), wanted.end(), text.data() + from).first - wanted.begin();
            if (same == static_cast<std::ptrdiff_t>(wanted.size())) {
                return from;
            }
            credit += static_cast<std::ptrdiff_t>(hit) + 1 - same;
            ++from;
        }
        return findByBorders(text, from);
    }

private:
    std::size_t findByBorders(View text, std::size_t from) {
        makeBorders();
        for (std::size_t taken = 0; from < text.size(); ++from) {
            if (taken == 0) {
                from += findUnit(text.data() + from, text.size() - from, wanted[0]);
                taken = from < text.size() ? 1 : 0;
            } else {
                taken = advance(taken, text[from]);
            }
            if (taken == wanted.size()) {
                return from + 1 - taken;
            }
        }
        return View::npos;
    }

    void makeBorders() {
        if (!borders.empty()) {
            return;
        }
        borders.resize(wanted.size());
        for (std::size_t i = 1; i < wanted.size(); ++i) {
            borders[i] = advance(borders[i - 1], wanted[i]);
        }
    }

    /// How many units of the run end with @p unit, if so many ended before it.
    [[nodiscard]] std::size_t advance(std::size_t taken, Unit unit) const {
        while (taken > 0 && wanted[taken] != unit) {
            taken = borders[taken - 1];
        }
        return wanted[taken] == unit ? taken + 1 : 0;
    }

    View wanted;
    std::ptrdiff_t credit = 256;       // units that may be compared in vain
    std::vector<std::size_t> borders;  // of the first i + 1 units: the longest head that is also their end
};

}  // namespace moraine::text
