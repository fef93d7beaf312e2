#include "moraine/util/PropertyManager.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <string_view>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/UnitCount.h"
#include "moraine/text/internal/Utf8Buffer.h"
#include "moraine/text/internal/View.h"
#include "moraine/text/UnsupportedEncodingException.h"

namespace moraine::util {
namespace {

constexpr unsigned int blockSize = 10240;

bool mayStandInName(WideChar c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
}

bool isName(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), mayStandInName);
}

constexpr const WideChar* badCharacter = u"Can't use char contained in property name.";

using text::view;

/// The message of a failure in a line.
WideString inLine(const WideChar* words, unsigned int lineNumber) {
    return lang::message(words, u" : (", lineNumber, u")");
}

/// Text that has been decoded and not yet consumed: from `start` to `end` in a buffer that does not grow.
struct LinesInHand {
    std::unique_ptr<WideChar[]> buffer{new WideChar[blockSize + 1]};
    unsigned int start = 0;
    unsigned int end = 0;

    /// Puts a block after the pending text, with a terminator after that; false if it does not fit.
    bool place(const WideString& block) {
        if (block.size() > blockSize - end) {
            // A block that would just fill the buffer does not fit either.
            if (block.size() >= blockSize - (end - start)) {
                return false;
            }
            std::copy(buffer.get() + start, buffer.get() + end, buffer.get());
            end -= start;
            start = 0;
        }
        std::copy(block.begin(), block.end(), buffer.get() + end);
        end += static_cast<unsigned int>(block.size());
        buffer[end] = 0;
        return true;
    }
};

}  // namespace

/// Properties in order of the names' units. A value's text stays where it is until its entry is removed.
struct PropertyManager::Table {
    /// The name lies in the entry itself if it is short, so that looking for one goes to few places in memory.
    class Entry {
    public:
        Entry(std::u16string_view name, std::u16string_view value)
            : nameLength(name.size()), valueLength(value.size()),
              outside(new WideChar[(isInside() ? 0 : nameLength) + valueLength + 1]) {
            name.copy(isInside() ? inside : outside.get() + valueLength + 1, nameLength);
            value.copy(outside.get(), valueLength);
            outside[valueLength] = 0;
        }

        [[nodiscard]] std::u16string_view name() const noexcept {
            return {isInside() ? inside : outside.get() + valueLength + 1, nameLength};
        }
        [[nodiscard]] std::u16string_view value() const noexcept { return {outside.get(), valueLength}; }

    private:
        [[nodiscard]] bool isInside() const noexcept { return nameLength <= std::size(inside); }

        std::size_t nameLength;
        WideChar inside[28];
        std::size_t valueLength;
        std::unique_ptr<WideChar[]> outside;  // value, terminator, and a longer name
    };

    struct ByName {
        using is_transparent = void;
        static std::u16string_view nameOf(const Entry& entry) noexcept { return entry.name(); }
        static std::u16string_view nameOf(std::u16string_view name) noexcept { return name; }
        template <class Left, class Right>
        bool operator()(const Left& left, const Right& right) const noexcept {
            return text::scan::precedes(nameOf(left), nameOf(right));
        }
    };

    Table() = default;
    Table(const Table& other) : changes(other.changes) {
        for (const Entry& entry : other.entries) {
            insert(entries.end(), entry.name(), entry.value());
        }
    }
    Table& operator=(const Table& other) = delete;
    ~Table() = default;

    /// Adds an entry, unless there is one of that name. Names in order, as a file has them that was written here, are
    /// not looked for.
    void add(std::u16string_view name, std::u16string_view value) {
        const bool isLast = entries.empty() || text::scan::precedes(entries.rbegin()->name(), name);
        const auto next = isLast ? entries.end() : entries.lower_bound(name);
        if (next == entries.end() || next->name() != name) {
            insert(next, name, value);
        }
    }

    std::set<Entry, ByName> entries;
    std::size_t changes = 0;  // of `entries`

private:
    void insert(std::set<Entry, ByName>::const_iterator next, std::u16string_view name, std::u16string_view value) {
        entries.emplace_hint(next, name, value);
        ++changes;
    }
};

PropertyManager::PropertyManager() : table(std::make_unique<Table>()) {}

PropertyManager::PropertyManager(const PropertyManager& other) : table(std::make_unique<Table>(*other.table)) {}

PropertyManager::~PropertyManager() = default;

PropertyManager& PropertyManager::operator=(const PropertyManager& other) {
    if (this != &other) {
        Table copy(*other.table);
        table->entries.swap(copy.entries);
        ++table->changes;
    }
    return *this;
}

void PropertyManager::read(io::InputStream* in, const WideChar* encoding) {
    std::unique_ptr<text::IDecoder> decoder;
    try {
        decoder.reset(text::DecoderManager().getDecoder(encoding));
    } catch (text::UnsupportedEncodingException& e) {
        lang::passOn(e, getClassName());
    }
    removeAll();

    LinesInHand pending;
    unsigned int lineNumber = 1;
    const auto place = [&](const WideString& block) {
        if (!pending.place(block)) {
            lang::raise<io::DataFormatException>(getClassName(), inLine(u"Line is too long.", lineNumber));
        }
    };
    const auto parse = [&](bool atEnd) {
        try {
            pending.start = readProc(pending.buffer.get(), pending.start, pending.end, atEnd, lineNumber);
        } catch (io::DataFormatException& e) {
            lang::passOn(e, getClassName());
        }
    };

    const std::unique_ptr<char[]> block(new char[blockSize]);
    while (const unsigned int count = in->read(block.get(), blockSize)) {
        if (count > blockSize) {
            lang::raise<io::IOException>(getClassName(), u"The stream could not be read.");
        }
        place(*decoder->doDecodeM2W(block.get(), count, false));
        parse(false);
    }
    const OwnedWideString rest = decoder->doDecodeM2W(block.get(), 0, true);
    if (pending.end > pending.start || !rest->empty()) {
        place(*rest);
        parse(true);
    }
}

void PropertyManager::write(io::OutputStream* out, const WideChar* encoding) {
    std::unique_ptr<text::IEncoder> encoder;
    try {
        encoder.reset(text::EncoderManager().getEncoder(encoding));
    } catch (text::UnsupportedEncodingException& e) {
        lang::passOn(e, getClassName());
    }
    const bool utf8 = text::isUtf8(*encoder);
    constexpr std::size_t most =
        std::numeric_limits<unsigned int>::max() / 4;  // of units, in one write in any encoding
    text::Utf8Buffer bytes;
    WideString name;
    WideString line;
    for (auto entry = table->entries.begin(); entry != table->entries.end();) {
        name = entry->name();
        const std::size_t changes = table->changes;
        const std::u16string_view value = entry->value();
        if (utf8 && name.size() + value.size() < most) {
            bytes.clear();
            bytes.append(std::u16string_view(name));
            bytes += u'=';
            bytes.append(value);
            bytes += u"\r\n";
            out->write(bytes.text().data(), static_cast<unsigned int>(bytes.size()));
        } else {
            line.assign(name).append(1, u'=').append(value).append(u"\r\n", 2);
            const OwnedByteString piece = encoder->doEncodeW2M(line.data(), text::unitCount(line.size()), false);
            out->write(piece->data(), text::unitCount(piece->size()));
        }
        // The stream may have changed the table; then the next entry is found by the name of this one.
        entry = changes == table->changes ? std::next(entry) : table->entries.upper_bound(std::u16string_view(name));
    }
    const OwnedByteString rest = encoder->doEncodeW2M(nullptr, 0, true);
    out->write(rest->data(), text::unitCount(rest->size()));
}

const WideChar* PropertyManager::get(const WideChar* name) {
    const auto& entries = table->entries;
    const auto entry = name == nullptr ? entries.end() : entries.find(view(name));
    return entry == entries.end() ? nullptr : entry->value().data();
}

void PropertyManager::put(const WideChar* name, const WideChar* value) {
    const std::u16string_view key = view(name);
    if (!isName(key)) {
        lang::raise<io::DataFormatException>(getClassName(), badCharacter);
    }
    table->add(key, view(value));
}

void PropertyManager::remove(const WideChar* name) {
    const auto entry = name == nullptr ? table->entries.end() : table->entries.find(view(name));
    if (entry != table->entries.end()) {
        table->entries.erase(entry);
        ++table->changes;
    }
}

void PropertyManager::removeAll() {
    table->entries.clear();
    ++table->changes;
}

unsigned int PropertyManager::count() {
    return static_cast<unsigned int>(table->entries.size());
}

bool PropertyManager::check4VariableUseableChar(WideChar c) {
    return mayStandInName(c);
}

unsigned int PropertyManager::readProc(WideChar* text, unsigned int start, unsigned int end, bool atEnd,
                                       unsigned int& lineNumber) {
    while (start < end) {
        const auto length = static_cast<unsigned int>(text::scan::find(text + start, end - start, u'\n'));
        const unsigned int lineEnd = start + length;
        if (lineEnd == end && !atEnd) {
            break;
        }
        const WideChar first = text[start];
        if (first != u'\n' && first != u'\r' && first != u'#') {
            readProperty(text, start, lineEnd, end, lineNumber);
        }
        start = lineEnd + 1;
        ++lineNumber;
    }
    return start;
}

const WideChar* PropertyManager::getClassName() const {
    return u"moraine::util::PropertyManager";
}

/// Reads the line from `start` up to `lineEnd`; the text in hand goes on to `end`.
void PropertyManager::readProperty(const WideChar* text, unsigned int start, unsigned int lineEnd, unsigned int end,
                                   unsigned int lineNumber) {
    const auto fail = [&](const WideChar* words) {
        lang::raise<io::DataFormatException>(getClassName(), inLine(words, lineNumber));
    };
    if (text[start] == u' ') {
        fail(u"Can't use white-space for line top.");
    }
    // The search goes beyond the line: where the line has no "=", its name runs on and is refused for its line feed.
    const auto nameLength = static_cast<unsigned int>(text::scan::find(text + start, end - start, u'='));
    if (nameLength == end - start) {
        fail(u"Not found for '='.");
    }
    if (nameLength == 0) {
        fail(u"Can't find for property name.");
    }
    const std::u16string_view name(text + start, nameLength);
    if (!isName(name)) {
        fail(badCharacter);
    }
    const WideChar* const value = name.data() + nameLength + 1;
    const WideChar* valueEnd = text + lineEnd;
    while (valueEnd > value && valueEnd[-1] == u'\r') {
        --valueEnd;
    }
    // A value ends at its first zero unit, as all zero-terminated text does.
    const auto length = static_cast<std::size_t>(valueEnd - value);
    table->add(name, {value, text::scan::find(value, length, 0)});
}

}  // namespace moraine::util
