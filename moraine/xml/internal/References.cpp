#include "moraine/xml/internal/References.h"

#include <algorithm>
#include <string_view>

#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/Utf8Buffer.h"
#include "moraine/text/StringUtil.h"

namespace moraine::xml {
namespace {

using View = std::u16string_view;

template <class Target>
void appendReference(Target& target, WideChar reserved) {
    switch (reserved) {
        case u'&':
            target += u"&amp;";
            break;
        case u'<':
            target += u"&lt;";
            break;
        case u'>':
            target += u"&gt;";
            break;
        case u'\'':
            target += u"&#39;";
            break;
        default:
            target += u"&quot;";
    }
}

struct NamedReference {
    View name;
    WideChar literal;
};

constexpr NamedReference namedReferences[] = {{u"&lt;", u'<'}, {u"&gt;", u'>'}, {u"&apos;", u'\''}, {u"&quot;", u'"'}};

constexpr View ampersand = u"&amp;";

bool beginsWith(View text, View start) {
    return text.substr(0, start.size()) == start;
}

/// The reference with one of the four names that `text` begins with, or null.
const NamedReference* namedReferenceAt(View text) {
    for (const NamedReference& reference : namedReferences) {
        if (text.size() > 1 && text[1] == reference.name[1] && beginsWith(text, reference.name)) {
            return &reference;
        }
    }
    return nullptr;
}

/// Whether the ampersand that `text` begins with begins a reference; a numeric one is taken for that unseen.
bool isReferenceAt(View text) {
    switch (text.size() > 1 ? text[1] : 0) {
        case u'#':
            return true;
        case u'a':
        case u'g':
        case u'l':
        case u'q':
            return beginsWith(text, ampersand) || namedReferenceAt(text) != nullptr;
        default:
            return false;
    }
}

/// Whether any ampersand begins a reference.
bool mayHoldReference(View text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        at += text::scan::find(text.data() + at, text.size() - at, u'&');
        if (isReferenceAt(text.substr(at))) {
            return true;
        }
    }
    return false;
}

/// What stands between "&#" and ";". Of more units than any number may have only their count is kept.
class Digits {
public:
    void add(WideChar unit) {
        if (count < most) {
            units[count] = unit;
        }
        ++count;
    }

    /// Whether they make a number that counts, whose low 16 bits are then in `unit`.
    bool read(WideChar& unit) const {
        if (count > 0 && units[0] == u'x') {
            return count - 1 <= mostHex && readHex(unit);
        }
        const long number = count <= most ? text::decimalValue(units, count) : 0;
        unit = static_cast<WideChar>(number);
        return number != 0;
    }

private:
    bool readHex(WideChar& unit) const {
        const std::int32_t number = text::StringUtil().hexStr2LongW(units + 1, static_cast<unsigned int>(count - 1));
        unit = static_cast<WideChar>(number);
        return number != -1;
    }

    static constexpr std::size_t most = 8;
    static constexpr std::size_t mostHex = 6;
    WideChar units[most] = {};
    std::size_t count = 0;
};

/// One walk that does what six passes, one after the other, would do.
///
/// The four names need no order, since none of them makes a unit that another reference is made of. Numeric
/// references are looked for in what the names leave, so the text between "&#" and ";" is read with its names
/// resolved. "&amp;" is looked for in what both leave, where a numeric reference may have made any of its five units:
/// the target remembers its last open ampersand and closes it up as soon as "&amp;" stands there.
class Resolver {
public:
    Resolver(WideString& target, View source, Resolve which)
        : out(target), text(source), names(which == Resolve::all), numericEnd(text.size()) {}

    void run() {
        std::size_t at = 0;
        while (at < text.size()) {
            const std::size_t length = text::scan::find(text.data() + at, text.size() - at, u'&');
            put(text.substr(at, length));
            at += length;
            if (at < text.size()) {
                at = passReference(at);
            }
        }
    }

private:
    /// Handles the ampersand at `at` with the reference that it begins, if any; returns where to go on.
    std::size_t passReference(std::size_t at) {
        const View rest = text.substr(at);
        if (names) {
            if (const NamedReference* const reference = namedReferenceAt(rest)) {
                put(reference->literal);
                return at + reference->name.size();
            }
            if (beginsWith(rest, ampersand)) {
                out.push_back(u'&');
                openAmpersand = WideString::npos;
                return at + ampersand.size();
            }
        }
        if (beginsWith(rest, u"&#")) {
            const std::size_t after = passNumeric(at);
            if (after != at) {
                return after;
            }
        }
        put(u'&');
        return at + 1;
    }

    /// Handles the numeric reference at `at`; returns where to go on, which is `at` itself if nothing ends it.
    std::size_t passNumeric(std::size_t at) {
        if (!numericEndKnown) {
            numericEnd = text::scan::find(text.data(), text.size(), 0);
            numericEndKnown = true;
        }
        Digits digits;
        std::size_t end = at + 2;
        while (end < numericEnd && text[end] != u';') {
            digits.add(nextUnit(end));
        }
        if (end >= numericEnd) {
            // Nothing ends this one, so nothing ends a later one either.
            numericEnd = 0;
            return at;
        }
        WideChar unit = 0;
        if (digits.read(unit)) {
            put(unit);
        } else {
            put(u'&');
            put(u'#');
            for (std::size_t i = at + 2; i <= end;) {
                put(nextUnit(i));
            }
        }
        return end + 1;
    }

    /// The unit at `at` with the four names resolved; moves `at` past it.
    WideChar nextUnit(std::size_t& at) const {
        if (names && text[at] == u'&') {
            if (const NamedReference* const reference = namedReferenceAt(text.substr(at))) {
                at += reference->name.size();
                return reference->literal;
            }
        }
        return text[at++];
    }

    void put(WideChar unit) {
        if (unit == u'&') {
            openAmpersand = out.size();
        }
        out.push_back(unit);
        closeAmpersand();
    }

    /// Appends units none of which is an ampersand.
    void put(View run) {
        out.append(run);
        closeAmpersand();
    }

    void closeAmpersand() {
        if (openAmpersand == WideString::npos || out.size() - openAmpersand < ampersand.size()) {
            return;
        }
        if (names && out.compare(openAmpersand, ampersand.size(), ampersand) == 0) {
            out.erase(openAmpersand + 1, ampersand.size() - 1);
        }
        openAmpersand = WideString::npos;
    }

    WideString& out;
    const View text;
    const bool names;
    std::size_t numericEnd;        // numeric references are not looked for from here on: the first zero unit
    bool numericEndKnown = false;  // it is looked for when the first of them is met
    std::size_t openAmpersand = WideString::npos;  // in `out`, with fewer than five units from it on
};

/// The index of the first unit that is written as a reference, or @p length if there is none. After one the next is
/// often near, so it is looked for unit by unit at first.
std::size_t findNextReserved(const WideChar* text, std::size_t length) {
    const std::size_t near = std::min<std::size_t>(length, 8);
    const std::size_t at = text::scan::scalar::findReserved(text, near);
    return at < near ? at : near + text::scan::findReserved(text + near, length - near);
}

}  // namespace

template <class Target>
void appendReferences(Target& target, const WideChar* text, std::size_t length) {
    // Of a long text so much at once that the copy finds in the cache what the search has read.
    constexpr std::size_t most = 4096;
    for (std::size_t at = 0; at < length;) {
        const std::size_t searched = std::min(length - at, most);
        const std::size_t run = findNextReserved(text + at, searched);
        target.append(View(text + at, run));
        at += run;
        if (run < searched) {
            appendReference(target, text[at]);
            ++at;
        }
    }
}

template void appendReferences(WideString& target, const WideChar* text, std::size_t length);
template void appendReferences(text::Utf8Buffer& target, const WideChar* text, std::size_t length);

void appendResolved(WideString& target, const WideChar* text, std::size_t length, Resolve which) {
    Resolver(target, {text, length}, which).run();
}

std::u16string_view storedForm(const WideChar* text, std::size_t length, WideString& room) {
    const std::size_t plain = text::scan::findEither(text, length, u'&', 0);
    if (plain == length || text[plain] == 0) {
        return {text, plain};
    }
    if (!mayHoldReference({text + plain, length - plain})) {
        return {text, plain + text::scan::find(text + plain, length - plain, 0)};
    }
    room.assign(text, plain);
    appendResolved(room, text + plain, length - plain, Resolve::all);
    return {room.data(), text::scan::find(room.data(), room.size(), 0)};
}

}  // namespace moraine::xml
