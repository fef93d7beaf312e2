// How far the library goes: depth, length and number of everything that has no small limit, each at sizes that show how
// time and memory grow, and checked for its outcome. Prints a Markdown table and fails if an outcome is wrong.
//
// Each row is measured in a process of its own. Its extra memory is the peak of the resident memory above that which
// the process had with its input in hand.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <moraine/io/FileInputStream.h>
#include <moraine/io/FileOutputStream.h>
#include <moraine/io/IOException.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/text/StringUtil.h>
#include <moraine/text/Wildcard.h>
#include <moraine/util/log/ILogger.h>
#include <moraine/util/PropertyManager.h>
#include <moraine/xml/DOM/Element.h>
#include <moraine/xml/DOM/Text.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>
#include <moraine/xml/XMLStringUtil.h>

namespace {

using namespace moraine;

constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr std::size_t gibibyte = std::size_t{1} << 30;

#define REQUIRE(condition) require(condition, #condition, __LINE__)

void require(bool held, const char* condition, int line) {
    if (!held) {
        std::fprintf(stderr, "bench/limits.cpp:%d: not so: %s\n", line, condition);
        std::_Exit(1);
    }
}

// Measuring.

struct Cost {
    double seconds;
    long bytes;
};

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

long peakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * 1024;
}

/// Lets the peak begin anew, at what is resident now.
void forgetPeak() {
    if (std::FILE* const file = std::fopen("/proc/self/clear_refs", "w")) {
        static_cast<void>(std::fputs("5", file));
        std::fclose(file);
    }
}

/// Counts from where it is made.
class Meter {
public:
    Meter() {
        forgetPeak();
        peak = peakBytes();
        start = now();
    }

    Cost cost() const { return {now() - start, peakBytes() - peak}; }

private:
    long peak;
    double start;
};

/// The memory that the system could still give.
std::size_t availableBytes() {
    std::size_t bytes = 0;
    if (std::FILE* const file = std::fopen("/proc/meminfo", "r")) {
        const std::string name = "MemAvailable:";
        char line[128];
        while (std::fgets(line, sizeof line, file) != nullptr) {
            if (std::strncmp(line, name.c_str(), name.size()) == 0) {
                bytes = std::strtoul(line + name.size(), nullptr, 10) * 1024;
            }
        }
        std::fclose(file);
    }
    return bytes;
}

/// Does some work in a process of its own; false if that ends in any way but a good one.
bool measured(const std::function<Cost()>& work, Cost& cost) {
    int ends[2];
    if (pipe(ends) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        int status = 1;
        try {
            const Cost own = work();
            status = write(ends[1], &own, sizeof own) == static_cast<ssize_t>(sizeof own) ? 0 : 1;
        } catch (lang::Exception& e) {
            const OwnedWideString trace = e.getTrace();
            std::fprintf(stderr, "%s\n", std::string(trace->begin(), trace->end()).c_str());
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s\n", e.what());
        }
        std::_Exit(status);
    }
    close(ends[1]);
    const bool told = child > 0 && read(ends[0], &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost);
    close(ends[0]);
    int status = 1;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0 && told;
}

// The table.

/// Two digits, as the machine is not quiet.
std::string rounded(double value, const char* unit) {
    char text[64];
    if (value >= 9.95) {
        double step = 1;
        while (value / step >= 99.5) {
            step *= 10;
        }
        std::snprintf(text, sizeof text, "%.0f%s", std::round(value / step) * step, unit);
    } else {
        std::snprintf(text, sizeof text, "%.2g%s", value, unit);
    }
    return text;
}

std::string duration(double seconds) {
    return seconds < 1e-10      ? "below 0.1 ns"
           : seconds < 0.995e-6 ? rounded(seconds * 1e9, " ns")
           : seconds < 0.995e-3 ? rounded(seconds * 1e6, " µs")
           : seconds < 0.995    ? rounded(seconds * 1e3, " ms")
                                : rounded(seconds, " s");
}

std::string memory(double bytes) {
    constexpr double kibi = 1024;
    return bytes < 995 * kibi * kibi ? rounded(bytes / kibi / kibi, " MiB")
                                     : rounded(bytes / kibi / kibi / kibi, " GiB");
}

std::string grouped(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3) {
        text.insert(at - 3, ",");
    }
    return text;
}

/// A number of bytes or units as it is best read.
std::string amount(std::size_t number) {
    if (number >= mebibyte && number % (mebibyte / 4) == 0) {
        const bool large = number >= gibibyte;
        char text[32];
        std::snprintf(text, sizeof text, "%g %s",
                      static_cast<double>(number) / static_cast<double>(large ? gibibyte : mebibyte),
                      large ? "Gi" : "Mi");
        return text;
    }
    return grouped(number);
}

bool quick = false;
bool allGood = true;

/// A row: what is done, at which size, what each of them is, and the memory without which there is no point in trying.
void row(const char* what, std::size_t size, const char* unit, const std::function<Cost(std::size_t)>& work,
         std::size_t neededBytes = 0) {
    std::printf("| %s | %s %s | ", what, amount(size).c_str(), unit);
    if (availableBytes() < neededBytes) {
        std::printf("not tried: needs %s | | | |\n", memory(static_cast<double>(neededBytes)).c_str());
        return;
    }
    static_cast<void>(std::fflush(stdout));
    Cost cost{};
    if (!measured([&] { return work(size); }, cost)) {
        std::printf("**wrong** | | | |\n");
        allGood = false;
        return;
    }
    // A process takes memory by pages, and now and then some for itself.
    const bool counts = cost.bytes >= static_cast<long>(2 * mebibyte);
    const auto each = static_cast<double>(cost.bytes) / static_cast<double>(size);
    std::printf("%s | %s | %s | %s |\n", duration(cost.seconds).c_str(),
                duration(cost.seconds / static_cast<double>(size)).c_str(),
                counts ? memory(static_cast<double>(cost.bytes)).c_str() : "below 2 MiB",
                !counts      ? ""
                : each < 0.1 ? "below 0.1"
                             : rounded(each, "").c_str());
    static_cast<void>(std::fflush(stdout));
}

/// The same at several sizes; quickly, at one alone: the largest up to 1 Mi, which no recursion stands.
void rows(const char* what, std::vector<std::size_t> sizes, const char* unit,
          const std::function<Cost(std::size_t)>& work, std::size_t neededBytesEach = 0) {
    if (quick) {
        sizes = {*std::prev(std::upper_bound(sizes.begin() + 1, sizes.end(), mebibyte))};
    }
    for (const std::size_t size : sizes) {
        row(what, size, unit, work, size * neededBytesEach);
    }
}

// Streams that hold next to nothing.

/// Texts, each so many times, one behind the other.
class Source : public io::InputStream {
public:
    explicit Source(std::vector<std::pair<std::string, std::size_t>> made, unsigned int longest = 10240)
        : parts(std::move(made)), block(longest) {}

    unsigned int read(char* buffer, unsigned int length) override {
        length = std::min(length, block);
        unsigned int count = 0;
        std::size_t first = 0;
        for (const auto& [text, times] : parts) {
            const std::size_t size = text.size() * times;
            while (count < length && at < first + size) {
                const std::size_t place = (at - first) % text.size();
                const auto step = static_cast<unsigned int>(std::min<std::size_t>(length - count, text.size() - place));
                std::copy_n(text.data() + place, step, buffer + count);
                count += step;
                at += step;
            }
            first += size;
        }
        return count;
    }
    void close() override {}
    void skip(long count) override { at = static_cast<std::size_t>(static_cast<long>(at) + count); }

private:
    std::vector<std::pair<std::string, std::size_t>> parts;
    unsigned int block;
    std::size_t at = 0;
};

/// Hands out what another stream has in pieces of 4096 bytes, as `PropertyManager::read` wants a long file.
class SmallPieces : public io::InputStream {
public:
    explicit SmallPieces(io::InputStream* whole) : source(whole) {}
    unsigned int read(char* buffer, unsigned int length) override {
        return source->read(buffer, std::min(length, 4096U));
    }
    void close() override { source->close(); }
    void skip(long count) override { source->skip(count); }

private:
    io::InputStream* source;
};

/// Counts bytes and keeps the last ones.
class Sink : public io::OutputStream {
public:
    unsigned int write(const char* data, unsigned int length) override {
        total += length;
        const unsigned int kept = std::min<unsigned int>(length, sizeof last);
        std::memmove(last, last + kept, sizeof last - kept);
        std::memcpy(last + sizeof last - kept, data + length - kept, kept);
        return length;
    }
    void flush() override {}
    void close() override {}
    bool endsWith(const std::string& text) const {
        return std::memcmp(last + sizeof last - text.size(), text.data(), text.size()) == 0;
    }

    std::size_t total = 0;

private:
    char last[16] = {};
};

const std::string prolog = "<?xml version=\"1.0\"?>";
constexpr std::size_t prologSize = 55;  // what the writer makes of "utf-8", without indentation

/// Filling that is not one character alone, some KiB of it.
std::string filler(char first) {
    std::string text;
    for (int i = 0; i < 4096; ++i) {
        text += static_cast<char>(first + i % 16);
    }
    return text;
}

WideString wide(const std::string& text) {
    return {text.begin(), text.end()};
}

// XML: nesting.

/// Reads a document of as many pieces.
Cost readPieces(std::vector<std::pair<std::string, std::size_t>> document, std::size_t number) {
    Source source(std::move(document));
    const Meter meter;
    std::size_t pieces = 0;
    {
        xml::DOM::XMLReader reader(&source);
        while (reader.doRead()) {
            ++pieces;
        }
    }
    const Cost cost = meter.cost();
    REQUIRE(pieces == number);
    return cost;
}

/// Writes a document; behind its declaration it has so many bytes and ends so.
template <class Write>
Cost writeDocument(std::size_t bytes, const std::string& end, Write write) {
    Sink sink;
    const Meter meter;
    {
        xml::DOM::XMLWriter writer(&sink, u"utf-8", false);
        write(writer);
        writer.close();
    }
    const Cost cost = meter.cost();
    REQUIRE(sink.total - prologSize == bytes && sink.endsWith(end));
    return cost;
}

Cost readNested(std::size_t depth) {
    return readPieces({{prolog, 1}, {"<n>", depth}, {"</n>", depth}}, 2 * depth + 2);
}

Cost writeNested(std::size_t depth) {
    return writeDocument((depth - 1) * 7 + 4, "</n>", [&](auto& writer) {
        for (std::size_t i = 0; i < depth; ++i) {
            writer.writeStartElement(u"n");
        }
        for (std::size_t i = 0; i < depth; ++i) {
            writer.writeEndElement();
        }
    });
}

std::size_t ended = 0;

class Counted : public xml::DOM::Element {
public:
    ~Counted() override { ++ended; }
};

Cost nestNodes(std::size_t depth) {
    const Meter meter;
    {
        Counted root;
        xml::DOM::Node* innermost = &root;
        for (std::size_t i = 1; i < depth; ++i) {
            auto child = std::make_unique<Counted>();
            child->setLocalName(u"n", 1);
            i % 2 == 0 ? innermost->appendChild(child.get()) : innermost->appendAttribute(child.get());
            child->setParentNode(innermost);
            innermost = child.release();
        }
    }
    const Cost cost = meter.cost();
    REQUIRE(ended == depth);
    return cost;
}

// XML: siblings.

Cost readSiblings(std::size_t count) {
    return readPieces({{prolog + "<r>", 1}, {"<n/>", count}, {"</r>", 1}}, count + 4);
}

Cost writeSiblings(std::size_t count) {
    return writeDocument(7 + 4 * count, "<n/></r>", [&](auto& writer) {
        writer.writeStartElement(u"r");
        for (std::size_t i = 0; i < count; ++i) {
            writer.writeStartElement(u"n");
            writer.writeEndElement();
        }
        writer.writeEndElement();
    });
}

Cost nodeSiblings(std::size_t count) {
    const Meter meter;
    {
        Counted root;
        for (std::size_t i = 0; i < count; ++i) {
            auto child = std::make_unique<Counted>();
            root.appendChild(child.get());
            child.release()->setParentNode(&root);
        }
        REQUIRE(root.getChildCount() == count && root.childAt(static_cast<unsigned int>(count - 1)) != nullptr);
    }
    const Cost cost = meter.cost();
    REQUIRE(ended == count + 1);
    return cost;
}

Cost removeFirstChildren(std::size_t count) {
    Counted root;
    for (std::size_t i = 0; i < count; ++i) {
        root.appendChild(new Counted);
    }
    const Meter meter;
    while (root.getChildCount() > 0) {
        root.removeChild(0);
    }
    const Cost cost = meter.cost();
    REQUIRE(ended == count);
    return cost;
}

// XML: long pieces.

/// A document with one long piece of as many characters, and how to get at it.
template <class Get>
Cost readLong(std::size_t length, const std::string& before, char first, const std::string& behind, std::size_t number,
              Get get) {
    const std::string fill = filler(first);
    Source source({{prolog + before, 1}, {fill, length / fill.size()}, {behind, 1}});
    const Meter meter;
    {
        xml::DOM::XMLReader reader(&source);
        for (std::size_t i = 0; i < number; ++i) {
            REQUIRE(reader.doRead());
        }
        const WideChar* const text = get(reader);
        REQUIRE(text != nullptr && text::lengthOf(text) == length && text[length / 2 + 7] == first + 7);
        while (reader.doRead()) {
        }
    }
    return meter.cost();
}

Cost readText(std::size_t length) {
    return readLong(length, "<a>", 'a', "</a>", 4, [](const auto& reader) { return reader.getValue(); });
}

Cost readComment(std::size_t length) {
    return readLong(length, "<a><!--", 'a', "--></a>", 4, [](const auto& reader) { return reader.getValue(); });
}

Cost readAttributeValue(std::size_t length) {
    return readLong(length, "<a b=\"", 'a', "\"/>", 3, [](const auto& reader) { return reader.getAttributeValue(0); });
}

Cost readName(std::size_t length) {
    return readLong(length, "<", 'a', "/>", 3, [](const auto& reader) { return reader.getName(); });
}

/// White-space, which is dropped.
Cost readBlanks(std::size_t length) {
    return readPieces({{prolog + "<a>", 1}, {std::string(4096, ' '), length / 4096}, {"<b/></a>", 1}}, 5);
}

/// Ordinary pieces, more than 4 GiB of them.
Cost readLongDocument(std::size_t bytes) {
    const std::string record = "<!--" + filler('a') + "-->\r\n<t>" + filler('a') + "</t>";
    const std::size_t count = bytes / record.size() + 1;
    return readPieces({{prolog + "<a>", 1}, {record, count}, {"</a>", 1}}, 4 * count + 4);
}

Cost writeText(std::size_t length) {
    const WideString text(length, u't');
    return writeDocument(length + 7, "ttt</a>", [&](auto& writer) {
        writer.writeStartElement(u"a");
        writer.writeText(text.c_str());
        writer.writeEndElement();
    });
}

Cost writeAttributeValue(std::size_t length) {
    const WideString value(length, u'v');
    return writeDocument(length + 9, "vvv\"/>", [&](auto& writer) {
        writer.writeStartElement(u"a");
        writer.writeAttribute(u"b", value.c_str());
        writer.writeEndElement();
    });
}

/// A text that is one unit too long. The same pages, again and again, are its memory.
Cost refuseText(std::size_t length) {
    constexpr std::size_t piece = 64 * mebibyte;
    const std::size_t bytes = length * sizeof(WideChar);
    const int file = memfd_create("units", MFD_CLOEXEC);
    const std::string fill(piece, 'a');
    REQUIRE(file >= 0 && write(file, fill.data(), piece) == static_cast<ssize_t>(piece));
    void* const room = mmap(nullptr, bytes + piece, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    REQUIRE(room != MAP_FAILED);
    for (std::size_t at = 0; at < bytes; at += piece) {
        void* const place = static_cast<char*>(room) + at;
        REQUIRE(mmap(place, piece, PROT_READ, MAP_SHARED | MAP_FIXED | MAP_POPULATE, file, 0) == place);
    }
    close(file);
    Sink sink;
    xml::DOM::XMLWriter writer(&sink, u"utf-8", false);
    writer.writeStartElement(u"a");
    bool refused = false;
    const Meter meter;
    try {
        writer.writeText(static_cast<const WideChar*>(room));
    } catch (const std::length_error&) {
        refused = true;
    }
    const Cost cost = meter.cost();
    writer.writeEndElement();
    REQUIRE(refused && sink.total - prologSize == 4 && sink.endsWith("<a/>"));
    return cost;
}

/// Beginnings of references that never become one.
Cost resolveReferences(std::size_t length) {
    const Meter meter;
    for (const WideChar* const piece : {u"&#", u"&", u"&amp", u"&#&lt", u"&#x", u"&#0"}) {
        WideString text;
        while (text.size() < length) {
            text += piece;
        }
        text.resize(length);
        const auto resolved = xml::XMLStringUtil().reference2String(text.data(), static_cast<unsigned int>(length));
        REQUIRE(*resolved == text);
    }
    return meter.cost();
}

// XML: attributes.

Cost readAttributes(std::size_t count) {
    Source source({{prolog + "<a", 1}, {" name=\"value\"", count}, {"/>", 1}});
    const Meter meter;
    {
        xml::DOM::XMLReader reader(&source);
        REQUIRE(reader.doRead() && reader.doRead() && reader.doRead() && reader.getAttributeCount() == count);
        const auto last = static_cast<unsigned int>(count - 1);
        REQUIRE(text::equal(reader.getAttributeName(last), u"name") &&
                text::equal(reader.getAttributeValue(last), u"value"));
        REQUIRE(!reader.doRead());
    }
    return meter.cost();
}

/// A name of eight units for a number.
WideString numbered(std::size_t number) {
    WideString name(8, u'n');
    for (std::size_t place = name.size(); place-- > 1; number /= 10) {
        name[place] = static_cast<WideChar>(u'0' + number % 10);
    }
    return name;
}

/// Every name another one, since the writer refuses a second one.
Cost writeAttributes(std::size_t count) {
    return writeDocument(4 + 17 * count, "=\"value\"/>", [&](auto& writer) {
        writer.writeStartElement(u"a");
        for (std::size_t i = 0; i < count; ++i) {
            writer.writeAttribute(numbered(i * 7919 % count).c_str(), u"value");
        }
        writer.writeEndElement();
    });
}

// Files and memory.

/// A folder of this program's own, gone with it.
class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "moraine-limits-XXXXXX").string();
        REQUIRE(mkdtemp(name.data()) != nullptr);
        path = name;
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder& other) = delete;
    Folder& operator=(const Folder& other) = delete;

    std::string file(const char* name) const { return path / name; }

private:
    std::filesystem::path path;
};

const Folder* folder = nullptr;

template <class Work>
std::string failureOf(Work work) {
    try {
        work();
    } catch (io::IOException& e) {
        const OwnedWideString message = e.getMessage();
        return {message->begin(), message->end()};
    }
    return "";
}

/// A file without content of its own, but for its number in the last eight bytes of each GiB.
std::string sparseFile(std::size_t size) {
    std::string path = folder->file("large");
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    REQUIRE(file >= 0 && ftruncate(file, static_cast<off_t>(size)) == 0);
    for (std::size_t end = gibibyte; end <= size; end += gibibyte) {
        const std::uint64_t number = end / gibibyte;
        REQUIRE(pwrite(file, &number, sizeof number, static_cast<off_t>(end - sizeof number)) == sizeof number);
    }
    REQUIRE(close(file) == 0);
    return path;
}

std::uint64_t numberFrom(io::InputStream& stream) {
    std::uint64_t number = 0;
    REQUIRE(stream.read(reinterpret_cast<char*>(&number), sizeof number) == sizeof number);
    return number;
}

/// There and back in a file of so many bytes.
Cost skipInFile(std::size_t size) {
    const std::string path = sparseFile(size);
    const auto length = static_cast<long>(size);
    const std::string total = std::to_string(length);
    constexpr long numberSize = sizeof(std::uint64_t);
    const auto number = size / gibibyte;
    const Meter meter;
    io::FileInputStream stream(wide(path).c_str());
    stream.skip(length - numberSize);
    REQUIRE(numberFrom(stream) == number);
    char byte = 0;
    REQUIRE(stream.read(&byte, 1) == 0);
    REQUIRE(failureOf([&] { stream.skip(1); }) ==
            "The range of the file was exceeded. : " + std::to_string(length + 1) + " > " + total);
    REQUIRE(failureOf([&] { stream.skip(-length - 1); }) == "The range of the file was exceeded. : -1 < 0");
    stream.skip(-length + static_cast<long>(gibibyte) - numberSize);
    REQUIRE(numberFrom(stream) == 1);
    stream.skip(length - static_cast<long>(gibibyte) - numberSize);
    REQUIRE(numberFrom(stream) == number);
    stream.skip(-length);
    REQUIRE(stream.read(&byte, 1) == 1 && byte == 0);
    return meter.cost();
}

Cost readFile(std::size_t size) {
    const std::string path = sparseFile(size);
    std::vector<char> block(mebibyte);
    const Meter meter;
    io::FileInputStream stream(wide(path).c_str());
    std::size_t total = 0;
    while (const unsigned int count = stream.read(block.data(), static_cast<unsigned int>(block.size()))) {
        total += count;
    }
    const Cost cost = meter.cost();
    REQUIRE(total == size);
    return cost;
}

/// The file is made longer behind the stream's back, so that nothing has to be written up to there.
Cost writeFarInFile(std::size_t size) {
    const std::string path = folder->file("large");
    const auto length = static_cast<long>(size);
    const Meter meter;
    io::FileOutputStream stream(wide(path).c_str());
    REQUIRE(truncate(path.c_str(), length) == 0);
    stream.skip(length);
    REQUIRE(stream.write("end", 3) == 3);
    REQUIRE(failureOf([&] { stream.skip(1); }) ==
            "The range of the file was exceeded. : " + std::to_string(length + 4) + " > " + std::to_string(length + 3));
    REQUIRE(failureOf([&] { stream.skip(-length - 4); }) == "The range of the file was exceeded. : -1 < 0");
    REQUIRE(stream.write(".", 1) == 1);
    stream.skip(-length - 4);
    REQUIRE(stream.write("start", 5) == 5);
    stream.skip(length - 10);
    REQUIRE(stream.write("middle", 6) == 6);
    stream.close();
    const Cost cost = meter.cost();
    REQUIRE(std::filesystem::file_size(path) == size + 4);
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    char tail[10] = {};
    char head[6] = {};
    REQUIRE(pread(file, tail, sizeof tail, length - 5) == 9 && std::strcmp(tail, "middlend.") == 0);
    REQUIRE(pread(file, head, 5, 0) == 5 && std::strcmp(head, "start") == 0);
    close(file);
    return cost;
}

/// More bytes than 32 bits can count, which take next to no memory as long as they are only read.
class Zeros {
public:
    Zeros() : place(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
        REQUIRE(place != MAP_FAILED);
        madvise(place, size, MADV_HUGEPAGE);
    }
    ~Zeros() { munmap(place, size); }
    Zeros(const Zeros& other) = delete;
    Zeros& operator=(const Zeros& other) = delete;

    char* get() const { return static_cast<char*>(place); }

    static constexpr std::size_t size = 4 * gibibyte + gibibyte / 4;

private:
    void* place;
};

Cost gatherBytes(std::size_t size) {
    const std::string block = filler('a');
    const Meter meter;
    io::MemoryOutputStream stream;
    for (std::size_t done = 0; done < size; done += block.size()) {
        stream.write(block.data(), static_cast<unsigned int>(std::min(block.size(), size - done)));
    }
    const Cost cost = meter.cost();
    REQUIRE(stream.getSize() == size &&
            std::memcmp(stream.getBytes() + size / 4096 * 4096 - 4096, block.data(), 4096) == 0);
    return cost;
}

/// Pieces of 64 bytes, half of each read before the next one comes.
Cost addPieces(std::size_t count) {
    const std::string piece = filler('a').substr(0, 64);
    const Meter meter;
    io::MemoryInputStream stream;
    char half[32];
    for (std::size_t i = 0; i < count; ++i) {
        stream.addBytes(piece.data(), 64);
        REQUIRE(stream.read(half, sizeof half) == sizeof half);
    }
    const Cost cost = meter.cost();
    REQUIRE(stream.getSize() == 32 * (count - 1) + 64);
    return cost;
}

/// Up to the last byte that a stream in memory takes, and one more.
Cost fillMemory(std::size_t size) {
    const Zeros source;
    const Meter meter;
    io::MemoryOutputStream stream;
    stream.write(source.get(), static_cast<unsigned int>(size - 1));
    stream.write("z", 1);
    bool refused = false;
    try {
        stream.write("z", 1);
    } catch (const std::bad_alloc&) {
        refused = true;
    }
    const Cost cost = meter.cost();
    REQUIRE(refused && stream.getSize() == size && stream.getBytes()[size - 1] == 'z');
    return cost;
}

/// All of it can be reached, and the size says the low 32 bits.
Cost readMuchMemory(std::size_t size) {
    const Zeros source;
    std::memcpy(source.get() + size - 4, "last", 4);
    const Meter meter;
    io::MemoryInputStream stream;
    stream.setBytes(source.get(), static_cast<long>(size));
    stream.skip(static_cast<long>(size) - 4);
    char end[8] = {};
    const unsigned int count = stream.read(end, sizeof end);
    const Cost cost = meter.cost();
    REQUIRE(count == 4 && std::strcmp(end, "last") == 0 && stream.getSize() == static_cast<std::uint32_t>(size));
    REQUIRE(failureOf([&] { stream.skip(1); }).find(std::to_string(size + 1)) != std::string::npos);
    return cost;
}

// Properties.

void putAll(util::PropertyManager& properties, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        properties.put(numbered(i * 7919 % count).c_str(), u"a value");
    }
}

Cost putProperties(std::size_t count) {
    const Meter meter;
    util::PropertyManager properties;
    putAll(properties, count);
    const Cost cost = meter.cost();
    REQUIRE(properties.count() == count);
    return cost;
}

Cost getProperties(std::size_t count) {
    util::PropertyManager properties;
    putAll(properties, count);
    const Meter meter;
    std::size_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        found += properties.get(numbered(i).c_str()) != nullptr ? 1 : 0;
    }
    const Cost cost = meter.cost();
    REQUIRE(found == count && properties.get(numbered(count).c_str()) == nullptr);
    return cost;
}

Cost removeProperties(std::size_t count) {
    util::PropertyManager properties;
    putAll(properties, count);
    const Meter meter;
    for (std::size_t i = 0; i < count; ++i) {
        properties.remove(numbered(i).c_str());
    }
    const Cost cost = meter.cost();
    REQUIRE(properties.count() == 0);
    return cost;
}

/// One entry of as many, changed as often: `put` does not replace.
Cost changeProperty(std::size_t count) {
    util::PropertyManager properties;
    putAll(properties, count);
    const WideString name = numbered(count / 2);
    const Meter meter;
    for (std::size_t i = 0; i < count; ++i) {
        properties.remove(name.c_str());
        properties.put(name.c_str(), i % 2 == 0 ? u"even" : u"odd");
    }
    const Cost cost = meter.cost();
    REQUIRE(properties.count() == count &&
            text::equal(properties.get(name.c_str()), count % 2 == 0 ? u"odd" : u"even"));
    return cost;
}

Cost writeProperties(std::size_t count) {
    util::PropertyManager properties;
    putAll(properties, count);
    Sink sink;
    const Meter meter;
    properties.write(&sink, u"utf-8");
    const Cost cost = meter.cost();
    REQUIRE(sink.total == count * 18 && sink.endsWith("=a value\r\n"));
    return cost;
}

Cost readProperties(std::size_t count) {
    util::PropertyManager written;
    putAll(written, count);
    io::MemoryOutputStream file;
    written.write(&file, u"utf-8");
    io::MemoryInputStream source;
    source.setBytes(file.getBytes(), file.getSize());
    const Meter meter;
    SmallPieces pieces(&source);
    util::PropertyManager properties;
    properties.read(&pieces, u"utf-8");
    const Cost cost = meter.cost();
    REQUIRE(properties.count() == count);
    for (std::size_t i = 0; i < count; ++i) {
        REQUIRE(text::equal(properties.get(numbered(i).c_str()), u"a value"));
    }
    return cost;
}

// The logger.

Cost logLines(std::size_t count) {
    const std::string path = folder->file("log");
    const Meter meter;
    {
        util::log::ILogger logger;
        logger.setOutputPath(wide(path).c_str());
        for (std::size_t i = 0; i < count; ++i) {
            logger.write(numbered(i).c_str());
        }
    }
    const Cost cost = meter.cost();
    // Each line is whole and in its place: a time of 19 characters, a blank, the message, and the line end.
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    REQUIRE(file != nullptr);
    char line[30];
    for (std::size_t i = 0; i < count; ++i) {
        const WideString name = numbered(i);
        const std::string expected = " " + std::string(name.begin(), name.end()) + "\r\n";
        REQUIRE(std::fread(line, 1, sizeof line, file) == sizeof line && line[4] == '/' && line[16] == ':');
        REQUIRE(std::memcmp(line + 19, expected.data(), expected.size()) == 0);
    }
    REQUIRE(std::fgetc(file) == EOF);
    std::fclose(file);
    return cost;
}

// Wildcards: patterns that fit nearly everywhere.

/// A text of one unit alone, and a part of as many such units with another one at its end.
Cost matchRun(std::size_t length) {
    const std::string text = std::string(2 * length, 'a') + "b";
    const std::string pattern = "*" + std::string(length, 'a') + "b*";
    const Meter meter;
    const bool held = text::Wildcard().isMatch(text.c_str(), pattern.c_str());
    const Cost cost = meter.cost();
    REQUIRE(held);
    return cost;
}

Cost matchManyStars(std::size_t count) {
    std::string pattern;
    for (std::size_t i = 0; i < count; ++i) {
        pattern += "*a";
    }
    const std::string text(2 * count, 'a');
    const Meter meter;
    const bool held = text::Wildcard().isMatch(text.c_str(), (pattern + "b").c_str());
    const Cost cost = meter.cost();
    REQUIRE(!held);
    return cost;
}

/// A part with "?" in it, in a text of a Mi units that never fits it.
Cost matchAnyUnits(std::size_t length) {
    const std::string text(mebibyte, 'a');
    const std::string pattern = "*a" + std::string(length - 2, '?') + "b*";
    const Meter meter;
    const bool held = text::Wildcard().isMatch(text.c_str(), pattern.c_str());
    const Cost cost = meter.cost();
    REQUIRE(!held);
    return cost;
}

/// A part of as many units, no two of which are alike, with one "?".
Cost matchDistinctUnits(std::size_t length) {
    WideString text(length, 0);
    for (std::size_t i = 0; i < length; ++i) {
        text[i] = static_cast<WideChar>(0x80 + i);
    }
    WideString pattern = u"*" + text + u"*";
    pattern[length / 2] = u'?';
    const Meter meter;
    const bool held = text::Wildcard().isMatchW(text.c_str(), pattern.c_str());
    const Cost cost = meter.cost();
    REQUIRE(held);
    return cost;
}

// Failures.

Cost addLayers(std::size_t count) {
    const Meter meter;
    std::exception_ptr failure = std::make_exception_ptr(io::IOException(u"my::Layer", 0));
    for (std::size_t i = 1; i < count; ++i) {
        try {
            std::rethrow_exception(failure);
        } catch (lang::Exception& e) {
            e.addTrace(u"my::Layer", static_cast<long>(i));
            failure = std::current_exception();
        }
    }
    std::size_t length = 0;
    try {
        std::rethrow_exception(failure);
    } catch (io::IOException& e) {
        length = e.getTrace()->size();
    }
    const Cost cost = meter.cost();
    REQUIRE(length > count * 18);
    return cost;
}

}  // namespace

int main(int count, char** arguments) {
    quick = count == 2 && std::strcmp(arguments[1], "quick") == 0;
    if (count > 1 && !quick) {
        std::fprintf(stderr, "Usage: limits [quick]\n");
        return 2;
    }
    const Folder ownFolder;
    folder = &ownFolder;
    std::printf("| Work | Size | Time | Time for each | Extra memory | Bytes for each |\n|---|---|---|---|---|---|\n");

    rows("Reader: open elements", {1000, 1'000'000, 10'000'000}, "levels", readNested, 64);
    rows("Writer: open elements", {1000, 1'000'000, 10'000'000}, "levels", writeNested, 128);
    rows("Nodes: a tree made and destroyed", {1000, 1'000'000}, "levels", nestNodes, 512);
    rows("Reader: siblings", {1000, 10'000'000}, "elements", readSiblings);
    rows("Writer: siblings", {1000, 10'000'000}, "elements", writeSiblings);
    rows("Nodes: siblings made and destroyed", {1000, 1'000'000}, "nodes", nodeSiblings, 512);
    rows("Nodes: the first child removed, again and again", {1000, 10'000, 40'000}, "nodes", removeFirstChildren);

    const std::vector<std::size_t> lengths = {mebibyte, 64 * mebibyte, 512 * mebibyte};
    rows("Reader: one text", lengths, "units", readText, 10);
    rows("Reader: one comment", lengths, "units", readComment, 10);
    rows("Reader: one attribute value", lengths, "units", readAttributeValue, 10);
    rows("Reader: one name", lengths, "units", readName, 10);
    rows("Reader: white-space between tags", lengths, "units", readBlanks);
    rows("Writer: one text", lengths, "units", writeText, 10);
    rows("Writer: one attribute value", lengths, "units", writeAttributeValue, 10);
    if (!quick) {
        row("Writer: a text that is too long", 4 * gibibyte, "units", refuseText);
    }
    rows("Reference beginnings, of six kinds", {mebibyte, 64 * mebibyte}, "units", resolveReferences, 10);
    rows("Reader: texts and comments of 4 KiB", {mebibyte, 4 * gibibyte + gibibyte / 4}, "bytes", readLongDocument);
    rows("Reader: attributes of one tag", {1000, 1'000'000, 10'000'000}, "attributes", readAttributes, 200);
    rows("Writer: attributes of one tag", {1000, 10'000, 100'000, 1'000'000}, "attributes", writeAttributes, 300);

    // These take no time that depends on the size, so the large one is the quick one too.
    rows("File read: skip to the end and back", {5 * gibibyte}, "bytes", skipInFile);
    rows("File written: skip to the end and back", {5 * gibibyte}, "bytes", writeFarInFile);
    rows("File read: all of it", {gibibyte / 8, gibibyte}, "bytes", readFile);
    rows("Memory read while 64 bytes are added again and again", {1000, 1'000'000, 10'000'000}, "pieces", addPieces,
         100);
    rows("Memory written by 4 KiB", {mebibyte, 64 * mebibyte, gibibyte - mebibyte}, "bytes", gatherBytes, 3);
    if (!quick) {
        row("Memory written, and one byte more", 4 * gibibyte - 1, "bytes", fillMemory, 8 * gibibyte);
        row("Memory read", Zeros::size, "bytes", readMuchMemory, 8 * gibibyte);
    }

    const std::vector<std::size_t> entries = {1000, 100'000, 1'000'000};
    rows("Properties: put", entries, "entries", putProperties, 1024);
    rows("Properties: get", entries, "entries", getProperties, 1024);
    rows("Properties: remove", entries, "entries", removeProperties, 1024);
    rows("Properties: one entry of so many changed so often", entries, "entries", changeProperty, 1024);
    rows("Properties: write", entries, "entries", writeProperties, 1024);
    rows("Properties: read in pieces of 4096 bytes", entries, "entries", readProperties, 1024);
    rows("Logger", {1000, 1'000'000}, "lines", logLines);

    rows("Wildcard: a run of literals in 2 × as much text", {mebibyte, 16 * mebibyte}, "units", matchRun, 20);
    rows("Wildcard: stars in 2 × as much text", {mebibyte, 16 * mebibyte}, "stars", matchManyStars, 20);
    rows("Wildcard: a part with `?` in 1 Mi units of text", {64, 1024, 16384}, "units", matchAnyUnits);
    rows("Wildcard: a part of distinct units and a `?`", {1024, 8192, 32768}, "units", matchDistinctUnits, 8192);
    rows("Failure: layers that add to its trace", {1000, 10'000, 100'000}, "layers", addLayers);
    return allGood ? 0 : 1;
}
