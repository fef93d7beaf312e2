#pragma once

#include <algorithm>
#include <array>
#include <functional>
#include <set>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/OutputStream.h"
#include "moraine/xml/DOM/XMLReader.h"

#include "support.h"

namespace moraine::test {

/// The cells of a table of so many columns, rows behind each other: what stands between line ends or two or more
/// blanks. In a cell `\n`, `\r`, `\t` and `\0` mean what they do in a literal, `\s` is a blank, `\uXXXX` any unit, and
/// `\e` nothing, which makes an empty cell.
inline std::vector<WideString> cellsOf(std::size_t columns, const std::string& table) {
    const std::string names = "nrts0", units("\n\r\t \0", 5);
    std::vector<WideString> cells;
    bool between = true;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (table[i] == '\n' || table.compare(i, 2, "  ") == 0 || (between && table[i] == ' ')) {
            between = true;
            continue;
        }
        if (between) {
            cells.emplace_back();
            between = false;
        }
        if (table[i] != '\\') {
            cells.back() += static_cast<unsigned char>(table[i]);
        } else if (const std::size_t known = names.find(table[++i]); known < names.size()) {
            cells.back() += static_cast<unsigned char>(units[known]);
        } else if (table[i] == 'u') {
            cells.back() += static_cast<WideChar>(std::stoi(table.substr(i + 1, 4), nullptr, 16));
            i += 4;
        }
    }
    if (cells.size() % columns != 0) {
        throw std::logic_error("a row of the table is not complete");
    }
    return cells;
}

/// The bytes that units from 0 to 255 stand for.
inline std::string bytesOf(const WideString& units) {
    return {units.begin(), units.end()};
}

/// Bytes whose blocks end at given offsets, and nothing else than that where more was asked for.
class Source : public io::InputStream {
public:
    explicit Source(std::string content, std::vector<std::size_t> borders = {})
        : bytes(std::move(content)), ends(std::move(borders)) {
        ends.push_back(bytes.size());
    }

    unsigned int read(char* buffer, unsigned int length) override {
        if (++reads == faultyRead) {
            return fault();
        }
        const std::size_t end =
            *std::find_if(ends.begin(), ends.end() - 1, [&](std::size_t e) { return e > position; });
        const std::size_t count = std::min<std::size_t>(length, end - position);
        bytes.copy(buffer, count, position);
        std::fill(buffer + count, buffer + length, '>');  // behind what was read nothing may be looked at
        position += count;
        return static_cast<unsigned int>(count);
    }
    void close() override { ADD_FAILURE() << "the reader closes no stream"; }
    void skip(long count) override { position += static_cast<std::size_t>(count); }

    int faultyRead = 0;
    std::function<unsigned int()> fault;
    int reads = 0;

private:
    std::string bytes;
    std::vector<std::size_t> ends;
    std::size_t position = 0;
};

struct Oops {};

/// Keeps what each write brings; some writes fail.
class Sink : public io::OutputStream {
public:
    explicit Sink(std::set<unsigned int> faulty = {}) : faults(std::move(faulty)) {}
    unsigned int write(const char* data, unsigned int length) override {
        if (faults.count(++writes) > 0) {
            throw Oops();
        }
        pieces.emplace_back(data, length);
        return 0;
    }
    void flush() override { ADD_FAILURE() << "nothing is flushed"; }
    void close() override { ++closes; }

    /// All of them, each with a mark behind it.
    std::string joined(const std::string& mark) const {
        std::string bytes;
        for (const std::string& piece : pieces) {
            bytes += piece + mark;
        }
        return bytes;
    }

    std::vector<std::string> pieces;
    unsigned int writes = 0;
    unsigned int closes = 0;
    std::set<unsigned int> faults;
};

inline WideString shown(const WideChar* text) {
    return text == nullptr ? u"~" : text;
}

/// What the accessors tell: `D` and `?` for document and declaration, tags as they are written, `'text'`, `!comment`.
/// An attribute is ` name=value`, and `~` stands for null.
inline WideString pieceOf(xml::DOM::XMLReader& reader) {
    const auto type = static_cast<unsigned int>(reader.getNodeType());
    const bool element = type == xml::DOM::elementNode;
    EXPECT_EQ(reader.hasValue(), reader.getValue() != nullptr);
    EXPECT_EQ(reader.hasAttribute(), reader.getAttributeCount() > 0);
    EXPECT_TRUE(element || (!reader.isStartElement() && !reader.isEmptyElement() && reader.getName() == nullptr));
    WideString piece =
        std::array<WideString, 6>{u"D", u"?", reader.isStartElement() ? u"<" : u"</", u"", u"!", u"'"}.at(type);
    piece += element ? shown(reader.getName()) : type > 2 ? shown(reader.getValue()) : u"";
    for (unsigned int i = 0; i < reader.getAttributeCount(); ++i) {
        piece += u" " + shown(reader.getAttributeName(i)) + u"=" + shown(reader.getAttributeValue(i));
    }
    return piece + (type == xml::DOM::textNode ? u"'" : !element ? u"" : reader.isEmptyElement() ? u"/>" : u">");
}

/// Everything that is read, the pieces with "|" behind them; at the end "." or the message of the failure. Where the
/// data end too early, "." follows that message, since the next call gives false.
inline WideString allOf(Source& source) {
    xml::DOM::XMLReader reader(&source);
    WideString log;
    try {
        while (reader.doRead()) {
            log += pieceOf(reader) + u"|";
        }
        const int reads = source.reads;
        const WideString last = pieceOf(reader);
        EXPECT_FALSE(reader.doRead());
        EXPECT_EQ(pieceOf(reader), last);
        EXPECT_EQ(source.reads, reads);
        return log + u".";
    } catch (lang::Exception& e) {
        EXPECT_STREQ(typeid(e).name(), typeid(io::DataFormatException).name());
        log += *e.getMessage();
    }
    try {
        return log + (reader.doRead() ? u"" : u".");
    } catch (lang::Exception& e) {  // other failures come again, behind the prolog
        const WideString again = *e.getMessage();
        EXPECT_TRUE(
            reader.getNodeType() == 0 ||
            (again.size() <= log.size() && log.compare(log.size() - again.size(), WideString::npos, again) == 0));
        return log;
    }
}

}  // namespace moraine::test
