#include <algorithm>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/Wildcard.h"

#include "input.h"

namespace moraine::fuzz {
namespace {

/// "yes", "no" or the message of a failure, by following which lengths of the text the pattern may have taken so far.
WideString modelOutcome(const WideString& text, const WideString& pattern) {
    if (text.empty() || pattern.empty()) {
        return text.empty() ? u"The buffer length is 0." : u"The pattern length is 0.";
    }
    std::vector<bool> taken(text.size() + 1);
    taken[0] = true;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const auto shortest = std::find(taken.begin(), taken.end(), true);
        if (pattern[i] == u'*' && WideString(u"*?#").find(pattern.c_str()[i + 1]) != WideString::npos) {
            const std::string place = std::to_string(i + 1);
            return shortest >= taken.end() - 1 ? u"no"
                                               : u"Invalid pattern. : " + WideString(place.begin(), place.end());
        }
        for (std::size_t t = text.size() + 1; pattern[i] != u'*' && t-- > 0;) {
            const WideChar unit = t > 0 ? text[t - 1] : u'\0';
            const bool isTaken =
                pattern[i] == u'#' ? u'0' <= unit && unit <= u'9' : pattern[i] == u'?' || pattern[i] == unit;
            taken[t] = t > 0 && taken[t - 1] && isTaken;
        }
        std::fill(pattern[i] == u'*' ? shortest : taken.end(), taken.end(), true);
    }
    return taken[text.size()] ? u"yes" : u"no";
}

template <class Unit>
WideString outcome(bool (text::Wildcard::*isMatch)(const Unit*, const Unit*), const WideString& text,
                   const WideString& pattern) {
    const std::basic_string<Unit> buffer(text.begin(), text.end()), rule(pattern.begin(), pattern.end());
    try {
        return (text::Wildcard().*isMatch)(terminated(buffer).data(), terminated(rule).data()) ? u"yes" : u"no";
    } catch (lang::IllegalArgumentException& e) {
        return *e.getMessage();
    }
}

}  // namespace

/// A line with the pattern, and the text.
void check(Input input) {
    const std::string bytes = input.remaining(), line = bytes.substr(0, bytes.find('\n'));
    const auto units = [](std::string_view from) {
        const auto chars = exact<unsigned char>(from.substr(0, from.find('\0')));
        return WideString(chars.begin(), chars.end());
    };
    const WideString pattern = units(std::string_view(line).substr(0, 2000));
    const WideString text = units(std::string_view(bytes).substr(std::min(bytes.size(), line.size() + 1), 2000));
    const WideString expected = modelOutcome(text, pattern);
    require(outcome(&text::Wildcard::isMatch, text, pattern) == expected, "as the plain model says");
    require(outcome(&text::Wildcard::isMatchW, text, pattern) == expected, "and so for 16 bits");
    // Units that have one of their bytes in common, also with digits.
    const auto widened = [](WideString source) {
        std::for_each(source.begin(), source.end(), [](WideChar& unit) {
            unit = static_cast<WideChar>(unit < 0x80 ? unit : (1 + (unit >> 3) % 8) * 0x100 + u'0' + unit % 8);
        });
        return source;
    };
    const WideString wideText = widened(text), widePattern = widened(pattern);
    require(outcome(&text::Wildcard::isMatchW, wideText, widePattern) == modelOutcome(wideText, widePattern),
            "so for all");
}

}  // namespace moraine::fuzz
