// How far the library goes, and how cost grows on the way there: depth, length and number of everything that has no
// small limit, each at several sizes and checked for its outcome. Prints one JSON object for each row and size.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <moraine/io/FileInputStream.h>
#include <moraine/io/FileOutputStream.h>
#include <moraine/io/IOException.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/text/Wildcard.h>
#include <moraine/util/log/ILogger.h>
#include <moraine/util/PropertyManager.h>
#include <moraine/xml/DOM/Element.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>
#include <moraine/xml/XMLStringUtil.h>

// What is taken from the allocator, now and at most, as long as one thread works: see heap.cpp.
extern long heldBytes;
extern long peakBytes;

namespace {

using namespace moraine;
using util::PropertyManager;
using xml::DOM::XMLReader;
using xml::DOM::XMLWriter;
using Size = std::size_t;

constexpr Size mebibyte = Size{1} << 20;
constexpr Size gibibyte = Size{1} << 30;

double began = 0;
long heldBefore = 0;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The end of what a row has to prepare, and the start of its work: time and memory count from here.
void prepared() {
    peakBytes = heldBytes;
    heldBefore = heldBytes;
    began = now();
}

#define REQUIRE(condition) require(condition, #condition, __LINE__)

void require(bool so, const char* condition, int line) {
    if (!so) {
        std::fprintf(stderr, "bench/limits.cpp:%d: not so: %s\n", line, condition);
        std::_Exit(1);
    }
}

/// Texts, each so many times, one after the other.
using Parts = std::vector<std::pair<std::string, Size>>;

class Source : public io::InputStream {
public:
    explicit Source(Parts made, unsigned int longest = 10240) : parts(std::move(made)), block(longest) {}
    unsigned int read(char* buffer, unsigned int length) override {
        length = std::min(length, block);
        unsigned int count = 0;
        Size first = 0;
        for (const auto& [text, times] : parts) {
            const Size size = text.size() * times;
            while (count < length && at < first + size) {
                const Size place = (at - first) % text.size();
                const auto step = static_cast<unsigned int>(std::min<Size>(length - count, text.size() - place));
                std::copy_n(text.data() + place, step, buffer + count);
                count += step;
                at += step;
            }
            first += size;
        }
        return count;
    }
    void close() override {}
    void skip(long count) override { at = static_cast<Size>(static_cast<long>(at) + count); }

private:
    Parts parts;
    unsigned int block;
    Size at = 0;
};

/// Counts bytes.
struct Sink : io::OutputStream {
    unsigned int write(const char* /*data*/, unsigned int length) override {
        total += length;
        return length;
    }
    void flush() override {}
    void close() override {}

    Size total = 0;
};

/// Filling that is not one character alone, 4 KiB of it.
std::string filler() {
    std::string text;
    for (int i = 0; i < 4096; ++i) {
        text += static_cast<char>('a' + i % 16);
    }
    return text;
}

/// A name of eight units for a number.
WideString numbered(Size number) {
    const std::string name = "n" + std::to_string(10'000'000 + number).substr(1);
    return {name.begin(), name.end()};
}

// XML.

/// Reads a document of as many pieces.
void read(Parts document, Size number) {
    document.insert(document.begin(), {"<?xml version=\"1.0\"?>", 1});
    Source source(std::move(document));
    prepared();
    const auto reader = std::make_unique<XMLReader>(&source);
    Size pieces = 0;
    while (reader->doRead()) {
        ++pieces;
    }
    REQUIRE(pieces == number);
}

void readNested(Size depth) {
    read({{"<n>", depth}, {"</n>", depth}}, 2 * depth + 2);
}

const char record[] = "<record id=\"17\" state='open'><name>A &amp; B</name><price>12.50</price></record>\r\n";

std::string longPieces() {
    return "<!--" + filler() + "-->\r\n<t>" + filler() + "</t>";
}

/// Reads text that is repeated: of so many bytes that a size counts one, and of as many pieces, with others around it.
auto reads(const char* before, const std::string& text, const char* after, Size bytes, Size each, Size others) {
    return [=](Size size) { read({{before, 1}, {text, size / bytes}, {after, 1}}, each * (size / bytes) + others); };
}

enum class Long { text, comment, value, name };

/// Reads a document with one piece that is long.
template <Long kind>
void readLong(Size length) {
    static constexpr std::pair<const char*, const char*> around[] = {
        {"<a>", "</a>"}, {"<a><!--", "--></a>"}, {"<a b=\"", "\"/>"}, {"<", "/>"}};
    const auto& [before, after] = around[static_cast<Size>(kind)];
    const std::string fill = filler();
    Source source({{std::string("<?xml version=\"1.0\"?>") + before, 1}, {fill, length / fill.size()}, {after, 1}});
    prepared();
    const auto reader = std::make_unique<XMLReader>(&source);
    for (int i = kind < Long::value ? 4 : 3; i > 0; --i) {
        REQUIRE(reader->doRead());
    }
    const WideChar* const text = kind == Long::name    ? reader->getName()
                                 : kind == Long::value ? reader->getAttributeValue(0)
                                                       : reader->getValue();
    REQUIRE(text != nullptr && text::lengthOf(text) == length && text[length / 2 + 7] == u'h');
    while (reader->doRead()) {
    }
}

/// Writes a document that has so many bytes after its declaration, and one element around what `write` writes.
template <class Write>
void writeDocument(Size bytes, Write write) {
    Sink sink;
    prepared();
    XMLWriter writer(&sink, u"utf-8", false);
    writer.writeStartElement(u"a");
    write(writer);
    writer.writeEndElement();
    writer.close();
    REQUIRE(sink.total == 55 + bytes);
}

template <bool nested>
void writeElements(Size count) {
    writeDocument((nested ? 7 * count - 3 : 4 * count) + 7, [&](XMLWriter& writer) {
        for (Size i = 0; i < count; ++i) {
            writer.writeStartElement(u"n");
            nested ? void() : writer.writeEndElement();
        }
        for (Size i = 0; i < count && nested; ++i) {
            writer.writeEndElement();
        }
    });
}

template <bool attribute>
void writeLong(Size length) {
    const WideString text(length, u't');
    writeDocument(length + (attribute ? 9 : 7), [&](XMLWriter& writer) {
        attribute ? writer.writeAttribute(u"b", text.c_str()) : writer.writeText(text.c_str());
    });
}

/// Every name another one, since the writer refuses a second one.
void writeAttributes(Size count) {
    writeDocument(4 + 17 * count, [&](XMLWriter& writer) {
        for (Size i = 0; i < count; ++i) {
            writer.writeAttribute(numbered(i * 7919 % count).c_str(), u"value");
        }
    });
}

/// Beginnings of references that never become one.
void resolveReferences(Size length) {
    for (const WideChar* const piece : {u"&#", u"&", u"&amp", u"&#&lt", u"&#x", u"&#0"}) {
        WideString text;
        while (text.size() < length) {
            text += piece;
        }
        text.resize(length);
        REQUIRE(*xml::XMLStringUtil().reference2String(text.data(), static_cast<unsigned int>(length)) == text);
    }
}

Size ended = 0;

struct Counted : xml::DOM::Element {
    ~Counted() override { ++ended; }
};

/// A tree of nodes, each below the one before or all below the first, made and destroyed.
template <bool nested>
void makeNodes(Size count) {
    {
        Counted root;
        xml::DOM::Node* parent = &root;
        for (Size i = 1; i < count; ++i) {
            auto child = std::make_unique<Counted>();
            child->setLocalName(u"n", 1);
            (nested && i % 2 == 0) ? parent->appendAttribute(child.get()) : parent->appendChild(child.get());
            child->setParentNode(parent);
            xml::DOM::Node* const made = child.release();
            parent = nested ? made : parent;
        }
    }
    REQUIRE(ended == count);
}

// Files and memory.

/// A new file, which goes with this object.
struct File {
    File() { ::close(mkstemp(path.data())); }
    ~File() { std::filesystem::remove(path); }
    WideString name() const { return {path.begin(), path.end()}; }

    std::string path = std::filesystem::temp_directory_path() / "moraine-limits-XXXXXX";
};

/// Writes at both ends of a file, which the system makes longer in between, and reads that back.
void moveInFile(Size size) {
    const File file;
    const auto length = static_cast<long>(size);
    const auto moveToStart = [&](auto& stream) {
        for (const long beyond : {1L, -length - 4}) {
            std::string told;
            try {
                stream.skip(beyond);
            } catch (io::IOException& e) {
                const OwnedWideString message = e.getMessage();
                told.assign(message->begin(), message->end());
            }
            REQUIRE(told.find(beyond == 1 ? std::to_string(length + 4) + " > " : "-1 < 0") != std::string::npos);
        }
        stream.skip(-length - 3);
    };
    io::FileOutputStream out(file.name().c_str());
    std::filesystem::resize_file(file.path, size);
    out.skip(length);
    REQUIRE(out.write("end", 3) == 3);
    moveToStart(out);
    REQUIRE(out.write("start", 5) == 5);
    out.close();
    io::FileInputStream in(file.name().c_str());
    char text[6] = {};
    in.skip(length);
    REQUIRE(in.read(text, 5) == 3 && std::strcmp(text, "end") == 0);
    moveToStart(in);
    REQUIRE(in.read(text, 5) == 5 && std::strcmp(text, "start") == 0);
}

/// By 4 KiB; where that is 4 GiB less one byte, the next one is refused.
void gatherBytes(Size size) {
    const std::string block = filler();
    io::MemoryOutputStream stream;
    for (Size done = 0; done < size; done += block.size()) {
        stream.write(block.data(), static_cast<unsigned int>(std::min(block.size(), size - done)));
    }
    bool refused = size < 4 * gibibyte - 1;
    try {
        refused || stream.write("z", 1);
    } catch (const std::bad_alloc&) {
        refused = true;
    }
    REQUIRE(refused && stream.getSize() == size && stream.getBytes()[size - 2] == block[(size - 2) % block.size()]);
}

/// All of it can be reached, and the size tells its low 32 bits.
void readMemory(Size size) {
    const std::unique_ptr<char, void (*)(void*)> bytes(static_cast<char*>(std::calloc(size, 1)), std::free);
    std::memcpy(bytes.get() + size - 4, "last", 4);
    prepared();
    io::MemoryInputStream stream;
    stream.setBytes(bytes.get(), static_cast<long>(size));
    stream.skip(static_cast<long>(size) - 4);
    char end[8] = {};
    REQUIRE(stream.read(end, sizeof end) == 4 && std::strcmp(end, "last") == 0);
    REQUIRE(stream.getSize() == static_cast<unsigned int>(size));
}

// Properties and the logger.

enum class Use { put, get, write };

template <Use use>
void useProperties(Size count) {
    PropertyManager properties;
    for (Size i = 0; i < count; ++i) {
        properties.put(numbered(i * 7919 % count).c_str(), u"a value");
    }
    use == Use::put ? void() : prepared();
    for (Size i = 0; i < count && use == Use::get; ++i) {
        REQUIRE(text::equal(properties.get(numbered(i).c_str()), u"a value"));
    }
    if (use == Use::write) {
        Sink sink;
        properties.write(&sink, u"utf-8");
        REQUIRE(sink.total == count * 18);
    }
}

void readProperties(Size count) {
    std::string lines;
    for (Size i = 0; i < count; ++i) {
        const WideString name = numbered(i * 7919 % count);
        lines.append(name.begin(), name.end()).append("=a value\n");
    }
    Source source({{lines, 1}}, 4096);
    prepared();
    PropertyManager properties;
    properties.read(&source, u"utf-8");
    REQUIRE(properties.count() == count && text::equal(properties.get(numbered(count / 2).c_str()), u"a value"));
}

void logLines(Size count) {
    const File file;
    util::log::ILogger logger;
    logger.setOutputPath(file.name().c_str());
    for (Size i = 0; i < count; ++i) {
        logger.write(numbered(i).c_str());
    }
    std::ifstream in(file.path, std::ios::binary);
    std::string line;
    for (Size i = 0; i < count; ++i) {
        const WideString name = numbered(i);
        REQUIRE(std::getline(in, line) && line.substr(19) == " " + std::string(name.begin(), name.end()) + "\r");
    }
}

// Patterns that fit nearly everywhere.

/// A run of units and another one at its end.
void matchRun(Size length) {
    const std::string text = std::string(2 * length, 'a') + "b";
    const std::string pattern = "*" + text.substr(length) + "*";
    prepared();
    REQUIRE(text::Wildcard().isMatch(text.c_str(), pattern.c_str()));
}

/// A part of any units in a text of a Mi of them that never fits it.
void matchAny(Size length) {
    const std::string pattern = "*a" + std::string(length - 2, '?') + "b*";
    const std::string text(mebibyte, 'a');
    prepared();
    REQUIRE(!text::Wildcard().isMatch(text.c_str(), pattern.c_str()));
}

struct Row {
    const char* work;
    /// What a size counts.
    const char* unit;
    std::vector<Size> sizes;
    std::function<void(Size)> run;
};

using Sizes = std::vector<Size>;
const Sizes numbers = {1000, 1'000'000, 10'000'000};
const Sizes upToAMillion = {1000, 1'000'000};
const Sizes lengths = {mebibyte / 64, mebibyte, 64 * mebibyte};
const Sizes pieces = {mebibyte / 64, mebibyte, 512 * mebibyte};
const Sizes manyBytes = {mebibyte, gibibyte * 17 / 4};
const Row rows[] = {
    {"Reader: records", "bytes", {mebibyte, 32 * mebibyte, gibibyte}, reads("<r>", record, "</r>", 82, 8, 4)},
    {"Reader: texts and comments of 4 KiB", "bytes", manyBytes, reads("<a>", longPieces(), "</a>", 8208, 4, 4)},
    {"Reader: siblings", "elements", numbers, reads("<r>", "<n/>", "</r>", 1, 1, 4)},
    {"Reader: attributes of one tag", "attributes", numbers, reads("<a", " name=\"value\"", "/>", 1, 0, 3)},
    {"Reader: white-space", "units", pieces, reads("<a>", std::string(4096, ' '), "<b/></a>", 4096, 0, 5)},
    {"Reader: open elements", "levels", numbers, readNested},
    {"Reader: one text", "units", pieces, readLong<Long::text>},
    {"Reader: one comment", "units", pieces, readLong<Long::comment>},
    {"Reader: one attribute value", "units", pieces, readLong<Long::value>},
    {"Reader: one name", "units", pieces, readLong<Long::name>},
    {"Writer: open elements", "levels", numbers, writeElements<true>},
    {"Writer: siblings", "elements", numbers, writeElements<false>},
    {"Writer: attributes of one tag", "attributes", upToAMillion, writeAttributes},
    {"Writer: one text", "units", pieces, writeLong<false>},
    {"Writer: one attribute value", "units", pieces, writeLong<true>},
    {"References without an end, of six kinds", "units", lengths, resolveReferences},
    {"Nodes: a tree made and destroyed", "levels", upToAMillion, makeNodes<true>},
    {"Nodes: siblings made and destroyed", "nodes", upToAMillion, makeNodes<false>},
    {"File written and read at both ends", "bytes", {5 * gibibyte}, moveInFile},
    {"Memory written by 4 KiB", "bytes", {mebibyte, 64 * mebibyte, 4 * gibibyte - 1}, gatherBytes},
    {"Memory read", "bytes", manyBytes, readMemory},
    {"Properties: put", "entries", upToAMillion, useProperties<Use::put>},
    {"Properties: looked up", "entries", upToAMillion, useProperties<Use::get>},
    {"Properties: written", "entries", upToAMillion, useProperties<Use::write>},
    {"Properties: read in pieces of 4096 bytes", "entries", upToAMillion, readProperties},
    {"Logger: written and read again", "lines", upToAMillion, logLines},
    {"Wildcard: a run of literals in 2 × as much text", "units", lengths, matchRun},
    {"Wildcard: a part with `?` in 1 Mi units of text", "units", {64, 1024, 16384}, matchAny},
};

/// Works in a process of its own and prints what that took; false if it ends in any way but a good one.
bool measure(const Row& row, Size size) {
    std::printf(R"({"work": "%s", "unit": "%s", "size": %zu)", row.work, row.unit, size);
    static_cast<void>(std::fflush(stdout));
    const pid_t child = fork();
    if (child == 0) {
        alarm(120);  // ends what takes too long
        prepared();
        row.run(size);
        std::printf(R"(, "seconds": %.4g, "bytes": %ld)", now() - began, peakBytes - heldBefore);
        std::_Exit(std::fflush(stdout));
    }
    int status = 1;
    const bool good = waitpid(child, &status, 0) == child && status == 0;
    std::puts("}");
    return good;
}

}  // namespace

int main(int count, char** arguments) {
    const bool quick = count == 2 && std::strcmp(arguments[1], "quick") == 0;
    if (count > 1 && !quick) {
        std::fputs("Usage: moraine_limits [quick]\n", stderr);
        return 2;
    }
    bool good = true;
    for (const Row& row : rows) {
        for (const Size& size : row.sizes) {
            // Quickly: the smallest, and the largest up to 1 Mi, which no recursion stands.
            const bool last = &size == &row.sizes.back() || (&size)[1] > mebibyte;
            if (!quick || &size == &row.sizes.front() || (last && size <= mebibyte)) {
                good = measure(row, size) && good;
            }
        }
    }
    return good ? 0 : 1;
}
