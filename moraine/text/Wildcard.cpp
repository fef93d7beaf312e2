#include "moraine/text/Wildcard.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/platform/Locale.h"
#include "moraine/text/internal/Search.h"
#include "moraine/text/internal/View.h"

namespace moraine::text {
namespace {

template <class Unit>
using View = std::basic_string_view<Unit>;

bool isDigit(char unit) {
    return unit >= '0' && unit <= '9';
}

bool isDigit(WideChar unit) {
    // What the locale is asked for costs more than all else; ASCII has its ten digits in each.
    return unit < 0x80 ? unit >= u'0' && unit <= u'9' : platform::isDigit(unit);
}

template <class Unit>
bool isMetacharacter(Unit unit) {
    return unit == '*' || unit == '?' || unit == '#';
}

/// Whether one pattern unit that is no star takes a unit of the text.
template <class Unit>
bool takes(Unit pattern, Unit unit) {
    return pattern == '?' || (pattern == '#' ? isDigit(unit) : pattern == unit);
}

/// Whether a pattern without stars takes a text of its own length. Units that are equal need no look, but for `#`,
/// which does not take itself.
template <class Unit>
bool takesAll(View<Unit> pattern, const Unit* text) {
    std::size_t at = 0;
    for (; pattern.size() - at >= scan::blockSize; at += scan::blockSize) {
        unsigned int open =
            scan::differing(pattern.data() + at, text + at) | scan::equalTo(pattern.data() + at, Unit('#'));
        for (; open != 0; open &= open - 1) {
            const std::size_t place = at + static_cast<std::size_t>(__builtin_ctz(open));
            if (!takes(pattern[place], text[place])) {
                return false;
            }
        }
    }
    return std::equal(pattern.begin() + static_cast<std::ptrdiff_t>(at), pattern.end(), text + at, takes<Unit>);
}

/// Looks for a pattern without stars by following all places where it may stand at once, one bit for each place. So
/// no unit of the text is looked at twice, whatever the pattern repeats.
///
/// A place takes a unit if it takes each byte of it, since it holds one literal unit or takes every unit. So there are
/// rows of bits for the values of bytes, and not for units, of which a pattern may hold very many.
template <class Unit>
class ParallelSearch {
public:
    explicit ParallelSearch(View<Unit> pattern)
        : size(pattern.size()), words((size + wordBits - 1) / wordBits), any(words), digit(words),
          masks(sizeof(Unit) * byteValues * words) {
        for (std::size_t i = 0; i < size; ++i) {
            setBits(pattern[i], i);
        }
    }

    /// The index after the first occurrence at or after `from`, or `none`.
    std::size_t findEnd(View<Unit> text, std::size_t from) const {
        std::vector<std::uint64_t> state(words);
        for (; from < text.size(); ++from) {
            const std::uint64_t* const low = &masks[lowRow(text[from])];
            const std::uint64_t* const high = &masks[highRow(text[from])];
            const bool isOneDigit = isDigit(text[from]);
            std::uint64_t carry = 1;
            for (std::size_t word = 0; word < words; ++word) {
                const std::uint64_t next = state[word] >> (wordBits - 1);
                const std::uint64_t accepted = any[word] | (isOneDigit ? digit[word] : 0) | (low[word] & high[word]);
                state[word] = (state[word] << 1 | carry) & accepted;
                carry = next;
            }
            if ((state[(size - 1) / wordBits] >> ((size - 1) % wordBits) & 1) != 0) {
                return from + 1;
            }
        }
        return View<Unit>::npos;
    }

private:
    static constexpr std::size_t wordBits = 64;
    static constexpr std::size_t byteValues = 256;

    void setBits(Unit unit, std::size_t place) {
        const std::uint64_t bit = std::uint64_t{1} << (place % wordBits);
        const std::size_t word = place / wordBits;
        switch (unit) {
            case '?':
                any[word] |= bit;
                break;
            case '#':
                digit[word] |= bit;
                break;
            default:
                masks[lowRow(unit) + word] |= bit;
                masks[highRow(unit) + word] |= bit;
                break;
        }
    }

    /// Where the row of a unit's low byte begins.
    std::size_t lowRow(Unit unit) const { return static_cast<unsigned char>(unit) * words; }

    /// That of its high byte; the same row where it has but one.
    std::size_t highRow(Unit unit) const {
        if constexpr (sizeof(Unit) == 1) {
            return lowRow(unit);
        } else {
            return (byteValues + (unit >> 8)) * words;
        }
    }

    std::size_t size;
    std::size_t words;
    std::vector<std::uint64_t> any;
    std::vector<std::uint64_t> digit;
    std::vector<std::uint64_t> masks;
};

/// The index after the first occurrence of a pattern without stars, whose first unit is literal, at or after `from`;
/// `npos` if there is none.
template <class Unit>
std::size_t findEnd(View<Unit> text, View<Unit> pattern, std::size_t from) {
    constexpr std::size_t fewUnits = 8;
    if (pattern.size() > text.size() - from) {
        return View<Unit>::npos;
    }
    if (pattern.size() > fewUnits) {
        const bool isRun = std::none_of(pattern.begin(), pattern.end(), isMetacharacter<Unit>);
        if (!isRun) {
            return ParallelSearch<Unit>(pattern).findEnd(text, from);
        }
        const std::size_t hit = Search<Unit>(pattern).find(text, from);
        return hit == View<Unit>::npos ? hit : hit + pattern.size();
    }
    while (text.size() - from >= pattern.size()) {
        const std::size_t places = text.size() - pattern.size() + 1 - from;
        const std::size_t hit = findUnit(text.data() + from, places, pattern[0]);
        if (hit == places) {
            break;
        }
        from += hit;
        if (takesAll(pattern, text.data() + from)) {
            return from + pattern.size();
        }
        ++from;
    }
    return View<Unit>::npos;
}

}  // namespace

bool Wildcard::isMatch(const char* buffer, const char* pattern) {
    return matches(buffer, pattern);
}

bool Wildcard::isMatchW(const WideChar* buffer, const WideChar* pattern) {
    return matches(buffer, pattern);
}

const WideChar* Wildcard::getClassName() const {
    return u"moraine::text::Wildcard";
}

template <class Unit>
bool Wildcard::matches(const Unit* buffer, const Unit* pattern) const {
    const View<Unit> text = view(buffer);
    const View<Unit> rule = view(pattern);
    if (text.empty()) {
        lang::raise<lang::IllegalArgumentException>(getClassName(), u"The buffer length is 0.");
    }
    if (rule.empty()) {
        lang::raise<lang::IllegalArgumentException>(getClassName(), u"The pattern length is 0.");
    }
    // Up to the first star unit stands against unit.
    std::size_t star = findUnit(rule.data(), rule.size(), Unit('*'));
    if (text.size() < star || !takesAll(rule.substr(0, star), text.data())) {
        return false;
    }
    std::size_t at = star;
    // Between two stars the first occurrence is as good as any; after the last one the end of the text decides.
    while (at < text.size() && star < rule.size()) {
        const View<Unit> rest = rule.substr(star + 1);
        if (rest.empty()) {
            return true;
        }
        if (isMetacharacter(rest[0])) {
            lang::raise<lang::IllegalArgumentException>(
                getClassName(), lang::message(u"Invalid pattern. : ", static_cast<long>(star) + 1));
        }
        const std::size_t length = findUnit(rest.data(), rest.size(), Unit('*'));
        if (length == rest.size()) {
            return text.size() - at >= length && takesAll(rest, text.data() + text.size() - length);
        }
        at = findEnd(text, rest.substr(0, length), at);
        if (at == View<Unit>::npos) {
            return false;
        }
        star += length + 1;
    }
    return at == text.size() && (star == rule.size() || (star + 1 == rule.size() && rule[star] == '*'));
}

}  // namespace moraine::text
