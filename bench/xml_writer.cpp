#include <moraine/io/FileOutputStream.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/text/UTF8Encoder.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "bench.h"

#ifdef BENCH_HAVE_LIBXML2
#include <libxml/xmlwriter.h>
#endif
#ifdef BENCH_HAVE_TINYXML2
#include <tinyxml2.h>
#endif
#ifdef BENCH_HAVE_QT
#include <QBuffer>
#include <QFile>
#include <QXmlStreamWriter>
#endif

// A megabyte of records is written call by call, to memory or to a new file. Each writer gets the texts in the form
// that it takes.

namespace {

using namespace moraine;

enum class Call { start, attribute, text, comment, end };

template <class Text>
struct Step {
    Call call;
    Text name;
    Text value;
};

/// The calls that write a few records with what a table has: keys, names, numbers, prose.
std::vector<Step<WideString>> someRecords() {
    std::vector<Step<WideString>> steps;
    const auto field = [&](const WideString& name, const WideString& text) {
        steps.push_back({Call::start, name, {}});
        steps.push_back({Call::text, {}, text});
        steps.push_back({Call::end, {}, {}});
    };
    for (int i = 0; i < 40; ++i) {
        const std::string digits = std::to_string(48271 * (i + 1));
        const WideString number(digits.begin(), digits.end());
        steps.push_back({Call::start, u"record", {}});
        steps.push_back({Call::attribute, u"id", number});
        steps.push_back({Call::attribute, u"title", u"\"" + number + u"\" & more"});
        field(u"name", u"M\u00FCller & S\u00F6hne");
        field(u"amount", number + u".50");
        field(u"description",
              u"A plain text of a usual length, which has nothing in it that has to be written otherwise.");
        field(u"formula", u"a < b && b > " + number);
        if (i % 4 == 0) {
            steps.push_back({Call::comment, {}, u" every fourth record has a remark "});
        }
        steps.push_back({Call::start, u"flag", {}});
        steps.push_back({Call::attribute, u"set", u"yes"});
        steps.push_back({Call::end, {}, {}});
        steps.push_back({Call::end, {}, {}});
    }
    return steps;
}

constexpr std::size_t megabyte = 1 << 20;

/// How often the records are written: without indentation that gives a megabyte.
constexpr int rounds = 72;

template <class Text>
Text converted(const WideString& text) {
    if constexpr (std::is_same_v<Text, WideString>) {
        return text;
    } else if constexpr (std::is_same_v<Text, std::string>) {
        return *text::UTF8Encoder().doEncodeW2M(text.data(), static_cast<unsigned int>(text.size()), true);
    } else {
        return Text::fromStdU16String(text);
    }
}

template <class Writer>
void writeAll(Writer& writer) {
    using Text = typename Writer::Text;
    static const std::vector<Step<Text>> steps = [] {
        std::vector<Step<Text>> list;
        for (const auto& [call, name, value] : someRecords()) {
            list.push_back({call, converted<Text>(name), converted<Text>(value)});
        }
        return list;
    }();
    static const Text root = converted<Text>(u"records");
    writer.start(root);
    for (int round = 0; round < rounds; ++round) {
        for (const auto& [call, name, value] : steps) {
            switch (call) {
                case Call::start:
                    writer.start(name);
                    break;
                case Call::attribute:
                    writer.attribute(name, value);
                    break;
                case Call::text:
                    writer.text(value);
                    break;
                case Call::comment:
                    writer.comment(value);
                    break;
                case Call::end:
                    writer.end();
                    break;
            }
        }
    }
    writer.end();
    writer.close();
}

class Moraine {
public:
    using Text = WideString;
    Moraine(const char* path, bool indented) {
        if (path != nullptr) {
            stream = std::make_unique<io::FileOutputStream>(WideString(path, path + std::string(path).size()).c_str());
        } else {
            stream = std::make_unique<io::MemoryOutputStream>();
        }
        writer = std::make_unique<xml::DOM::XMLWriter>(stream.get(), u"UTF-8", indented);
    }
    void start(const Text& name) { writer->writeStartElement(name.c_str()); }
    void attribute(const Text& name, const Text& value) { writer->writeAttribute(name.c_str(), value.c_str()); }
    void text(const Text& value) { writer->writeText(value.c_str()); }
    void comment(const Text& value) { writer->writeComment(value.c_str()); }
    void end() { writer->writeEndElement(); }
    void close() { writer->close(); }
    std::string bytes() const {
        auto& memory = dynamic_cast<io::MemoryOutputStream&>(*stream);
        return {memory.getBytes(), memory.getSize()};
    }

private:
    std::unique_ptr<io::OutputStream> stream;
    std::unique_ptr<xml::DOM::XMLWriter> writer;
};

#ifdef BENCH_HAVE_LIBXML2
class Libxml2 {
public:
    using Text = std::string;
    Libxml2(const char* path, bool indented)
        : buffer(path != nullptr ? nullptr : xmlBufferCreateSize(1 << 14)),
          writer(path != nullptr ? xmlNewTextWriterFilename(path, 0) : xmlNewTextWriterMemory(buffer.get(), 0)) {
        if (buffer) {
            xmlBufferSetAllocationScheme(buffer.get(), XML_BUFFER_ALLOC_DOUBLEIT);
        }
        xmlTextWriterSetIndent(writer.get(), indented ? 1 : 0);
        xmlTextWriterSetIndentString(writer.get(), BAD_CAST "  ");
        xmlTextWriterStartDocument(writer.get(), "1.0", nullptr, "yes");
    }
    void start(const Text& name) { xmlTextWriterStartElement(writer.get(), units(name)); }
    void attribute(const Text& name, const Text& value) {
        xmlTextWriterWriteAttribute(writer.get(), units(name), units(value));
    }
    void text(const Text& value) { xmlTextWriterWriteString(writer.get(), units(value)); }
    void comment(const Text& value) { xmlTextWriterWriteComment(writer.get(), units(value)); }
    void end() { xmlTextWriterEndElement(writer.get()); }
    void close() {
        xmlTextWriterEndDocument(writer.get());
        writer.reset();
    }
    std::string bytes() const { return reinterpret_cast<const char*>(xmlBufferContent(buffer.get())); }

private:
    static const xmlChar* units(const Text& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

    struct Deleter {
        void operator()(xmlBuffer* doomed) const { xmlBufferFree(doomed); }
        void operator()(xmlTextWriter* doomed) const { xmlFreeTextWriter(doomed); }
    };
    std::unique_ptr<xmlBuffer, Deleter> buffer;
    std::unique_ptr<xmlTextWriter, Deleter> writer;
};
#endif

#ifdef BENCH_HAVE_TINYXML2
class Tinyxml2 {
public:
    using Text = std::string;
    Tinyxml2(const char* path, bool indented)
        : file(path != nullptr ? std::fopen(path, "wb") : nullptr, std::fclose), printer(file.get(), !indented) {
        printer.PushHeader(false, true);
    }
    void start(const Text& name) { printer.OpenElement(name.c_str()); }
    void attribute(const Text& name, const Text& value) { printer.PushAttribute(name.c_str(), value.c_str()); }
    void text(const Text& value) { printer.PushText(value.c_str()); }
    void comment(const Text& value) { printer.PushComment(value.c_str()); }
    void end() { printer.CloseElement(); }
    void close() { file.reset(); }
    std::string bytes() const { return printer.CStr(); }

private:
    /// With two blanks a level, as the others have.
    class Printer : public tinyxml2::XMLPrinter {
    public:
        Printer(std::FILE* target, bool compact) : XMLPrinter(target, compact) {}
        void PrintSpace(int depth) override {
            for (int i = 0; i < depth; ++i) {
                Write("  ", 2);
            }
        }
    };
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
    Printer printer;
};
#endif

#ifdef BENCH_HAVE_QT
class Qt {
public:
    using Text = QString;
    Qt(const char* path, bool indented) {
        if (path != nullptr) {
            file.setFileName(QString::fromUtf8(path));
            file.open(QIODevice::WriteOnly | QIODevice::Truncate);
            writer = std::make_unique<QXmlStreamWriter>(&file);
        } else {
            writer = std::make_unique<QXmlStreamWriter>(&memory);
        }
        writer->setAutoFormatting(indented);
        writer->setAutoFormattingIndent(2);
        writer->writeStartDocument(QStringLiteral("1.0"), true);
    }
    void start(const Text& name) { writer->writeStartElement(name); }
    void attribute(const Text& name, const Text& value) { writer->writeAttribute(name, value); }
    void text(const Text& value) { writer->writeCharacters(value); }
    void comment(const Text& value) { writer->writeComment(value); }
    void end() { writer->writeEndElement(); }
    void close() {
        writer->writeEndDocument();
        file.close();
    }
    std::string bytes() const { return memory.toStdString(); }

private:
    QFile file;
    QByteArray memory;
    std::unique_ptr<QXmlStreamWriter> writer;
};
#endif

/// A file that is gone when the program ends.
class TemporaryFile {
public:
    TemporaryFile() : path(std::filesystem::temp_directory_path() / ("moraine_bench_" + std::to_string(getpid()))) {}
    TemporaryFile(const TemporaryFile& other) = delete;
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    TemporaryFile& operator=(const TemporaryFile& other) = delete;

    const char* name() const { return path.c_str(); }
    std::string content() const {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    std::filesystem::path path;
};

const TemporaryFile& temporaryFile() {
    static const TemporaryFile file;
    return file;
}

/// What a document holds, however it is laid out.
std::string countsOf(const std::string& document) {
    io::MemoryInputStream stream;
    stream.setBytes(document.data(), static_cast<long>(document.size()));
    xml::DOM::XMLReader reader(&stream);
    std::size_t tags = 0, attributes = 0, texts = 0, comments = 0, units = 0;
    while (reader.doRead()) {
        const int type = reader.getNodeType();
        units += text::lengthOf(reader.getName()) + text::lengthOf(reader.getValue());
        comments += static_cast<std::size_t>(type == xml::DOM::commentNode);
        texts += static_cast<std::size_t>(type == xml::DOM::textNode);
        if (reader.isStartElement()) {
            ++tags;
            attributes += reader.getAttributeCount();
            for (unsigned int i = 0; i < reader.getAttributeCount(); ++i) {
                units += text::lengthOf(reader.getAttributeName(i)) + text::lengthOf(reader.getAttributeValue(i));
            }
        }
    }
    return std::to_string(tags) + " start tags, " + std::to_string(attributes) + " attributes, " +
           std::to_string(texts) + " texts, " + std::to_string(comments) + " comments, " + std::to_string(units) +
           " units";
}

template <class Writer>
bench::Column column(const std::string& name, bool toFile, bool indented) {
    const auto path = [=] { return toFile ? temporaryFile().name() : nullptr; };
    return {name,
            [=] {
                Writer writer(path(), indented);
                writeAll(writer);
                return countsOf(toFile ? temporaryFile().content() : writer.bytes());
            },
            [=] {
                Writer writer(path(), indented);
                writeAll(writer);
            }};
}

const bench::Jobs jobs{[] {
    for (const bool toFile : {false, true}) {
        for (const bool indented : {true, false}) {
            std::vector<bench::Column> columns{column<Moraine>("moraine", toFile, indented)};
#ifdef BENCH_HAVE_LIBXML2
            columns.push_back(column<Libxml2>("libxml2", toFile, indented));
#endif
#ifdef BENCH_HAVE_TINYXML2
            columns.push_back(column<Tinyxml2>("tinyxml2", toFile, indented));
#endif
#ifdef BENCH_HAVE_QT
            columns.push_back(column<Qt>("Qt", toFile, indented));
#endif
            bench::job(std::string("writer/") + (toFile ? "file/" : "memory/") + (indented ? "indented" : "plain"),
                       megabyte, columns);
        }
    }
}};

}  // namespace
