#pragma once

#include "moraine/io/DataFormatException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/xml/internal/PendingText.h"

namespace moraine::xml {

/// Pending units, from one place up to another, and whether a reference may be among them.
struct Range {
    std::size_t begin;
    std::size_t end;
    bool reference;
};

/// The class whose failures these are.
inline constexpr const WideChar* readerName = u"moraine::xml::DOM::XMLReader";

/// Fails if there is a "<" or ">" in attributes. @p position is the number of the first unit in messages.
inline void refuseBracket(const PendingText& pending, std::size_t first, std::size_t end, long position) {
    const std::size_t at = pending.next<&Marks::angles>(first);
    if (at < end) {
        lang::raise<io::DataFormatException>(readerName, lang::message(u"Invalud attribute name.(",
                                                                       position + static_cast<long>(at - first),
                                                                       u") : '", pending.units()[at], u"'"));
    }
}

/// Takes apart the attributes that stand in the pending units from @p first up to @p end, none of which is a "<" or
/// ">". Calls @p add for each with the places of its name and its value. @p position is the number of the first unit in
/// messages.
template <class Add>
void forEachAttribute(const PendingText& pending, std::size_t first, std::size_t end, long position, Add add) {
    if (first == end) {
        return;
    }
    const auto fail = [first, position](const WideChar* words, std::size_t at) {
        const long number = position + static_cast<long>(at - first);
        lang::raise<io::DataFormatException>(readerName, lang::message(words, number, u")"));
    };
    const WideChar* const text = pending.units();
    const auto skipWhite = [&](std::size_t at) {
        while (at < end && text::scan::isWhite(text[at])) {
            ++at;
        }
        return at;
    };
    PendingText::Walk<&Marks::equals, &Marks::quotes, &Marks::references> walk(pending, first, end);
    const auto isReference = [](WideChar unit) { return unit == u'&' || unit == 0; };
    // The next "=" or quote, and whether anything before it may be a reference.
    const auto nextSign = [&](bool& reference) {
        std::size_t at = walk.next();
        while (at < end && isReference(text[at])) {
            reference = true;
            at = walk.next();
        }
        return at;
    };
    for (std::size_t at = skipWhite(first); at < end; at = skipWhite(at)) {
        // White-space does not end a name.
        Range name{at, at, false};
        at = nextSign(name.reference);
        if (at >= end) {
            fail(u"Invalid element.(", end);
        }
        if (text[at] != u'=') {
            fail(u"Invalid attribute name.(", at);
        }
        if (at == name.begin) {
            fail(u"Attribute name not found.(", at);
        }
        name.end = at;
        while (text::scan::isWhite(text[name.end - 1])) {
            --name.end;
        }

        const std::size_t opening = skipWhite(at + 1);
        bool ignored = false;
        at = nextSign(ignored);
        if (at >= end) {
            fail(u"Invalid element.(", end);
        }
        if (at != opening || text[at] == u'=') {
            fail(u"Invalid attribute name.(", at);
        }
        Range value{at + 1, walk.next(), false};
        while (value.end < end && text[value.end] != text[at]) {
            value.reference = value.reference || isReference(text[value.end]);
            value.end = walk.next();
        }
        // Two units must follow the opening quote, so an empty value cannot be the very last thing.
        if (value.end >= end || end - value.begin < 2) {
            fail(u"Invalid attribute value.(", at);
        }
        at = value.end + 1;
        add(name, value);
    }
}

}  // namespace moraine::xml
