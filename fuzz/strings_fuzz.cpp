#include <algorithm>
#include <cstdlib>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/internal/View.h"
#include "moraine/text/StringUtil.h"
#include "moraine/xml/XMLStringUtil.h"

#include "input.h"

namespace moraine::fuzz {
namespace {

using lang::IllegalArgumentException, text::StringUtil, xml::XMLStringUtil;

/// The result of an operation on a text in a block of its exact size.
template <class Class, class Operation, class Text, class... More>
auto applied(Operation(Class::*operation), const Text& text, const More&... more) {
    Class util;
    return (util.*operation)(exact(text).data(), static_cast<unsigned int>(text.size()), terminated(more).data()...);
}

template <class Text>
Text replaced(Text text, const Text& search, const Text& replacement) {
    const auto old = text::view(search.c_str()), fresh = text::view(replacement.c_str());
    for (std::size_t at = 0; !old.empty() && (at = text.find(old, at)) != Text::npos; at += fresh.size()) {
        text.replace(at, old.size(), fresh);
    }
    return text;
}

template <class Text>
Text trimmed(const Text& text, bool left, bool right) {
    const auto isSolid = [](auto unit) { return unit != ' '; };
    const auto begin = left ? std::find_if(text.begin(), text.end(), isSolid) : text.begin();
    const auto end = std::find_if(text.rbegin(), std::make_reverse_iterator(begin), isSolid).base();
    return Text(begin, right ? end : text.end());
}

/// The number that digits spell, modulo 2^32; nothing if there is any other unit.
template <class Text>
std::optional<std::uint32_t> hexadecimal(const Text& text, std::string_view letters) {
    std::uint32_t number = 0;
    for (const auto unit : text) {
        const bool isDigit = '0' <= unit && unit <= '9';
        const std::size_t letter =
            unit > 0 && unit < 128 ? letters.find(static_cast<char>(unit)) : std::string_view::npos;
        if (!isDigit && letter == std::string_view::npos) {
            return std::nullopt;
        }
        number = number * 16 + static_cast<std::uint32_t>(isDigit ? unit - '0' : 10 + static_cast<int>(letter % 6));
    }
    return number;
}

/// What both kinds of text have alike. The operations are given in the order in which they are used.
template <class Text, class Hex, class Lenient, class Replace, class Trim>
void checkTwins(const Text& text, const Text& search, const Text& replacement, Hex hex, Lenient lenient,
                Replace replace, const Trim (&trims)[3]) {
    const auto strict = resultOf<IllegalArgumentException>([&] { return applied(hex, text); });
    const auto value = hexadecimal(text, "ABCDEF"), either = hexadecimal(text, "ABCDEFabcdef");
    using Low = std::decay_t<decltype(*strict)>;
    require(strict == (value ? std::optional<Low>(static_cast<Low>(*value)) : std::nullopt), "strict hexadecimal");
    require(applied(lenient, text) == static_cast<std::int32_t>(either.value_or(0xFFFFFFFF)), "hexadecimal");
    require(*applied(replace, text, search, replacement) == replaced(text, search, replacement), "replacing");
    for (int i = 0; i < 3; ++i) {
        require(*applied(trims[i], text) == trimmed(text, i != 1, i != 0), "trimming");
    }
}

void checkDigits(const WideString& text) {
    for (const WideChar unit : text) {
        const auto digits = StringUtil().toHexStringW2M(unit), two = StringUtil().toHexString(static_cast<char>(unit));
        const bool isWide = exact<char>(*StringUtil().toHexStringW(unit)) == exact(*digits);
        const bool isRight = digits->size() == 4 && hexadecimal(*digits, "ABCDEF") == unit;
        require(isRight && isWide && *two == digits->substr(2), "digits and back");
    }
}

/// The unit that stands for what is between "&#" and ";", if any does.
std::optional<WideChar> unitOf(const std::string& digits) {
    const bool hex = !digits.empty() && digits[0] == 'x';
    if (digits.size() > (hex ? 7 : 8) || (hex && !hexadecimal(digits.substr(1), "ABCDEFabcdef"))) {
        return std::nullopt;
    }
    const long value = std::strtol(digits.c_str() + hex, nullptr, hex ? 16 : 10);
    return hex || value != 0 ? std::optional(static_cast<WideChar>(value)) : std::nullopt;
}

WideString numbersResolved(const WideString& text) {
    const WideString searched = text.substr(0, text.find(u'\0'));
    WideString result;
    for (std::size_t at = 0;;) {
        const std::size_t begin = searched.find(u"&#", at);
        const std::size_t end = begin == WideString::npos ? begin : searched.find(u';', begin);
        if (end == WideString::npos) {
            return result + text.substr(at);
        }
        result += text.substr(at, begin - at);
        std::string digits;
        for (std::size_t i = begin + 2; i < end; ++i) {
            digits += searched[i] < 128 ? static_cast<char>(searched[i]) : '?';
        }
        const std::optional<WideChar> unit = unitOf(digits);
        result += unit ? WideString(1, *unit) : searched.substr(begin, end + 1 - begin);
        at = end + 1;
    }
}

void checkReferences(const WideString& text) {
    using Row = std::pair<WideString, WideString>;
    WideString markup = text, literal = text;
    for (const auto& [unit, reference] :
         {Row(u"&", u"&amp;"), {u"<", u"&lt;"}, {u">", u"&gt;"}, {u"'", u"&#39;"}, {u"\"", u"&quot;"}}) {
        markup = replaced(markup, unit, reference);
    }
    for (const auto& [reference, unit] : {Row(u"&lt;", u"<"), {u"&gt;", u">"}, {u"&apos;", u"'"}, {u"&quot;", u"\""}}) {
        literal = replaced(literal, reference, unit);
    }
    literal = replaced<WideString>(numbersResolved(literal), u"&amp;", u"&");
    require(*applied(&XMLStringUtil::replace4Reference, text) == numbersResolved(text), "numeric references");
    require(*applied(&XMLStringUtil::string2Reference, text) == markup, "references for what is reserved");
    require(*applied(&XMLStringUtil::reference2String, text) == literal, "references resolved one kind after another");
    const bool hasZero = text.find(u'\0') != WideString::npos;
    require(hasZero || *applied(&XMLStringUtil::reference2String, markup) == text, "the inverse of each other");
}

}  // namespace

void check(Input input) {
    const std::string search = input.bytes(6), replacement = input.bytes(6), narrow = input.bytes(300);
    const WideString wideSearch = input.text(6), wideReplacement = input.text(6), wide = input.text(1000);
    checkTwins(narrow, search, replacement, &StringUtil::fromHexString, &StringUtil::hexStr2Long,
               &StringUtil::doReplace, {&StringUtil::doLTrim, &StringUtil::doRTrim, &StringUtil::doTrim});
    checkTwins(wide, wideSearch, wideReplacement, &StringUtil::fromHexStringW, &StringUtil::hexStr2LongW,
               &StringUtil::doReplaceW, {&StringUtil::doLTrimW, &StringUtil::doRTrimW, &StringUtil::doTrimW});
    checkDigits(wide);
    checkReferences(wide);
}

}  // namespace moraine::fuzz
