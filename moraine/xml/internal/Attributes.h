#pragma once

#include "moraine/xml/internal/PendingText.h"

namespace moraine::xml {

/// Pending units, from one place up to another, and whether a reference may be among them.
struct Range {
    std::size_t begin;
    std::size_t end;
    bool reference;
};

/// Takes apart the attributes that stand in the pending units from @p first up to @p end, none of which is a "<" or
/// ">". Calls @p add for each with the places of its name and its value, and @p fail with the words of a failure and
/// its place, which does not return.
template <class Add, class Fail>
void forEachAttribute(const PendingText& pending, std::size_t first, std::size_t end, Add add, Fail fail) {
    if (first == end) {
        return;
    }
    const WideChar* const text = pending.units();
    const auto skipWhite = [&](std::size_t at) {
        while (at < end && text::scan::isWhite(text[at])) {
            ++at;
        }
        return at;
    };
    PendingText::Walk<&Marks::equals, &Marks::quotes, &Marks::references> walk(pending, first, end);
    const auto isReference = [](WideChar unit) { return unit == u'&' || unit == 0; };
    // The next "=" or quote, and whether anything in front of it may be a reference.
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
