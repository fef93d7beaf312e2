// Reading XML: every piece is visited, and every name, value, attribute, text and comment is looked at.
//
// MORAINE_CORPUS may name a folder with XML files, which are read in addition to the generated shapes.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <moraine/io/FileInputStream.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/lang/Exception.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

#include "bench.h"

#ifdef BENCH_HAVE_LIBXML2
#include <libxml/parser.h>
#include <libxml/xmlreader.h>
#endif
#ifdef BENCH_HAVE_EXPAT
#include <expat.h>
#endif
#ifdef BENCH_HAVE_XERCES
#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>
#endif
#ifdef BENCH_HAVE_QT
#include <QFile>
#include <QXmlStreamReader>
#endif

namespace {

namespace fs = std::filesystem;

/// A document, which the columns read from memory or from a file.
struct Input {
    std::string bytes;
    bool inFile = false;
    std::string path{};  // of the file; made on first use where the bytes were made here
    std::shared_ptr<moraine::io::MemoryInputStream> stream{};  // made on first use where it reads from memory
};

/// The block that the reader asks its stream for, and that is handed to the parsers that are fed with a file.
constexpr std::size_t blockSize = 10240;

// ---- What is done with the pieces: they are counted exactly, for the comparison, or looked at, while time runs.

/// Zero-terminated text, or null, with its length.
template <class Unit>
std::basic_string_view<Unit> view(const Unit* text) {
    return text == nullptr ? std::basic_string_view<Unit>() : std::basic_string_view<Unit>(text);
}

class Counting {
public:
    template <class View>
    void start(View name) {
        ++started;
        names += characters(name);
    }
    template <class View>
    void end(View name) {
        ++ended;
        names += characters(name);
    }
    template <class View>
    void attribute(View name, View value) {
        ++attributes;
        names += characters(name);
        values += characters(value);
    }
    template <class View>
    void text(View piece) {
        texts += characters(piece, true);
    }
    template <class View>
    void comment(View piece) {
        ++comments;
        commentTexts += characters(piece, true);
    }
    std::string told() const {
        std::string list;
        for (const long count : {started, ended, attributes, names, values, texts, comments, commentTexts}) {
            list += std::to_string(count) + ' ';
        }
        return list;
    }

private:
    /// Characters, whatever the encoding; white-space is left out where readers treat it differently.
    template <class View>
    static long characters(View piece, bool withoutWhite = false) {
        return std::count_if(piece.begin(), piece.end(), [=](auto unit) {
            const auto code = static_cast<std::make_unsigned_t<decltype(unit)>>(unit);
            const bool continues = sizeof unit == 1 ? (code & 0xC0) == 0x80 : (code & 0xFC00) == 0xDC00;
            return !continues && !(withoutWhite && (code == ' ' || (code >= '\t' && code <= '\r')));
        });
    }

    long started = 0, ended = 0, attributes = 0, names = 0, values = 0, texts = 0, comments = 0, commentTexts = 0;
};

class Looking {
public:
    template <class View>
    void start(View name) {
        look(name);
    }
    template <class View>
    void end(View name) {
        look(name);
    }
    template <class View>
    void attribute(View name, View value) {
        look(name);
        look(value);
    }
    template <class View>
    void text(View piece) {
        look(piece);
    }
    template <class View>
    void comment(View piece) {
        look(piece);
    }
    std::size_t sum() const { return seen; }

private:
    template <class View>
    void look(View piece) {
        seen += piece.empty() ? 1 : piece.size() + static_cast<std::size_t>(piece.front() ^ piece.back());
    }

    std::size_t seen = 0;
};

// ---- The columns: each reads an input and gives the pieces to a sink.

struct Moraine {
    static constexpr const char* name = "moraine";

    template <class Sink>
    static void read(const Input& input, Sink& sink) {
        if (!input.inFile) {
            read(*input.stream, sink);
            input.stream->skip(-static_cast<long>(input.bytes.size()));
        } else {
            moraine::io::FileInputStream stream(std::u16string(input.path.begin(), input.path.end()).c_str());
            read(stream, sink);
        }
    }

    template <class Sink>
    static void read(moraine::io::InputStream& stream, Sink& sink) {
        moraine::xml::DOM::XMLReader reader(&stream);
        static_cast<void>(reader.doRead() && reader.doRead());  // the document and its declaration
        while (reader.doRead()) {
            switch (reader.getNodeType()) {
                case moraine::xml::DOM::elementNode: {
                    const auto tag = view(reader.getName());
                    const bool starts = reader.isStartElement();
                    if (starts) {
                        sink.start(tag);
                    }
                    const unsigned int count = reader.getAttributeCount();
                    for (unsigned int i = 0; i < count; ++i) {
                        sink.attribute(view(reader.getAttributeName(i)), view(reader.getAttributeValue(i)));
                    }
                    if (!starts || reader.isEmptyElement()) {
                        sink.end(tag);
                    }
                    break;
                }
                case moraine::xml::DOM::textNode:
                    sink.text(view(reader.getValue()));
                    break;
                default:
                    sink.comment(view(reader.getValue()));
                    break;
            }
        }
    }
};

[[maybe_unused]] void require(bool good, const char* who) {
    if (!good) {
        throw std::runtime_error(std::string(who) + " refuses the input");
    }
}

/// Gives a file, or the bytes in memory, to `feed(bytes, size, last)`, which says whether to go on.
template <class Feed>
bool feedAll(const Input& input, std::size_t memoryBlock, Feed feed) {
    if (!input.inFile) {
        const std::string_view all = input.bytes;
        for (std::size_t at = 0; at < all.size(); at += memoryBlock) {
            const std::string_view block = all.substr(at, memoryBlock);
            if (!feed(block.data(), static_cast<int>(block.size()), at + block.size() == all.size())) {
                return false;
            }
        }
        return true;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(input.path.c_str(), "rb"), std::fclose);
    char block[blockSize];
    for (;;) {
        const std::size_t size = std::fread(block, 1, sizeof block, file.get());
        const bool last = size < sizeof block;
        if (!feed(block, static_cast<int>(size), last) || last) {
            return last;
        }
    }
}

#ifdef BENCH_HAVE_LIBXML2

auto view(const xmlChar* text) {
    return view(reinterpret_cast<const char*>(text));
}

std::string_view view(const xmlChar* text, std::size_t length) {
    return {reinterpret_cast<const char*>(text), length};
}

struct TextReader {
    static constexpr const char* name = "xmlTextReader";

    template <class Sink>
    static void read(const Input& input, Sink& sink) {
        constexpr int options = XML_PARSE_HUGE | XML_PARSE_NONET;
        const std::unique_ptr<xmlTextReader, void (*)(xmlTextReaderPtr)> owner(
            input.inFile ? xmlReaderForFile(input.path.c_str(), nullptr, options)
                         : xmlReaderForMemory(input.bytes.data(), static_cast<int>(input.bytes.size()), nullptr,
                                              nullptr, options),
            xmlFreeTextReader);
        xmlTextReaderPtr reader = owner.get();
        int state = xmlTextReaderRead(reader);
        for (; state == 1; state = xmlTextReaderRead(reader)) {
            switch (xmlTextReaderNodeType(reader)) {
                case XML_READER_TYPE_ELEMENT: {
                    const auto tag = view(xmlTextReaderConstName(reader));
                    const bool empty = xmlTextReaderIsEmptyElement(reader) == 1;
                    sink.start(tag);
                    while (xmlTextReaderMoveToNextAttribute(reader) == 1) {
                        sink.attribute(view(xmlTextReaderConstName(reader)), view(xmlTextReaderConstValue(reader)));
                    }
                    if (empty) {
                        sink.end(tag);
                    }
                    break;
                }
                case XML_READER_TYPE_END_ELEMENT:
                    sink.end(view(xmlTextReaderConstName(reader)));
                    break;
                case XML_READER_TYPE_TEXT:
                case XML_READER_TYPE_WHITESPACE:
                case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
                    sink.text(view(xmlTextReaderConstValue(reader)));
                    break;
                case XML_READER_TYPE_COMMENT:
                    sink.comment(view(xmlTextReaderConstValue(reader)));
                    break;
            }
        }
        require(state == 0, name);
    }
};

struct Libxml2Sax {
    static constexpr const char* name = "libxml2 SAX2";

    template <class Sink>
    static void read(const Input& input, Sink& sink) {
        xmlSAXHandler handler{};
        handler.initialized = XML_SAX2_MAGIC;
        handler.startElementNs = [](void* to, const xmlChar* local, const xmlChar* prefix, const xmlChar*, int spaces,
                                    const xmlChar** space, int count, int, const xmlChar** attribute) {
            Sink& out = *static_cast<Sink*>(to);
            std::string room;
            std::string attributeRoom;
            out.start(joined(prefix, local, room));
            for (int i = 0; i < spaces; ++i, space += 2) {
                const auto* const xmlns = reinterpret_cast<const xmlChar*>("xmlns");
                out.attribute(space[0] == nullptr ? view(xmlns) : joined(xmlns, space[0], attributeRoom),
                              view(space[1]));
            }
            for (int i = 0; i < count; ++i, attribute += 5) {
                out.attribute(joined(attribute[1], attribute[0], attributeRoom),
                              view(attribute[3], static_cast<std::size_t>(attribute[4] - attribute[3])));
            }
        };
        handler.endElementNs = [](void* to, const xmlChar* local, const xmlChar* prefix, const xmlChar*) {
            std::string room;
            static_cast<Sink*>(to)->end(joined(prefix, local, room));
        };
        handler.characters = [](void* to, const xmlChar* text, int length) {
            static_cast<Sink*>(to)->text(view(text, static_cast<std::size_t>(length)));
        };
        handler.ignorableWhitespace = handler.characters;
        handler.comment = [](void* to, const xmlChar* text) { static_cast<Sink*>(to)->comment(view(text)); };
        const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxtPtr)> parser(
            xmlCreatePushParserCtxt(&handler, &sink, nullptr, 0, nullptr), xmlFreeParserCtxt);
        // Without NOENT an attribute's value has "&#38;" for "&amp;".
        xmlCtxtUseOptions(parser.get(), XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOENT);
        feedAll(input, blockSize, [&](const char* bytes, int size, bool last) {
            xmlParseChunk(parser.get(), bytes, size, last);
            return parser->wellFormed != 0;
        });
        require(parser->wellFormed != 0, name);
    }

    /// A name as it is written.
    static std::string_view joined(const xmlChar* prefix, const xmlChar* local, std::string& room) {
        if (prefix == nullptr) {
            return view(local);
        }
        room.assign(view(prefix)).append(1, ':').append(view(local));
        return room;
    }
};

#endif

#ifdef BENCH_HAVE_EXPAT

struct Expat {
    static constexpr const char* name = "expat";

    template <class Sink>
    static void read(const Input& input, Sink& sink) {
        const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> owner(XML_ParserCreate(nullptr), XML_ParserFree);
        XML_Parser parser = owner.get();
        XML_SetUserData(parser, &sink);
        XML_SetElementHandler(
            parser,
            [](void* to, const char* tag, const char** attribute) {
                Sink& out = *static_cast<Sink*>(to);
                out.start(view(tag));
                for (; attribute[0] != nullptr; attribute += 2) {
                    out.attribute(view(attribute[0]), view(attribute[1]));
                }
            },
            [](void* to, const char* tag) { static_cast<Sink*>(to)->end(view(tag)); });
        XML_SetCharacterDataHandler(parser, [](void* to, const char* text, int length) {
            static_cast<Sink*>(to)->text(std::string_view(text, static_cast<std::size_t>(length)));
        });
        XML_SetCommentHandler(parser, [](void* to, const char* text) { static_cast<Sink*>(to)->comment(view(text)); });
        require(feedAll(input, input.bytes.size(),
                        [&](const char* bytes, int size, bool last) {
                            return XML_Parse(parser, bytes, size, last) == XML_STATUS_OK;
                        }),
                name);
    }
};

#endif

#ifdef BENCH_HAVE_XERCES

struct Xerces {
    static constexpr const char* name = "xerces SAX2";

    template <class Sink>
    class Handler : public xercesc::DefaultHandler {
    public:
        explicit Handler(Sink& to) : sink(to) {}

        void startElement(const XMLCh*, const XMLCh*, const XMLCh* tag,
                          const xercesc::Attributes& attributes) override {
            sink.start(view(tag));
            for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
                sink.attribute(view(attributes.getQName(i)), view(attributes.getValue(i)));
            }
        }
        void endElement(const XMLCh*, const XMLCh*, const XMLCh* tag) override { sink.end(view(tag)); }
        void characters(const XMLCh* text, XMLSize_t length) override { sink.text(std::u16string_view(text, length)); }
        void ignorableWhitespace(const XMLCh* text, XMLSize_t length) override { characters(text, length); }
        void comment(const XMLCh* text, XMLSize_t length) override { sink.comment(std::u16string_view(text, length)); }

    private:
        Sink& sink;
    };

    template <class Sink>
    static void read(const Input& input, Sink& sink) {
        using xercesc::XMLUni;
        static const bool ready = (xercesc::XMLPlatformUtils::Initialize(), true);
        require(ready, name);
        const std::unique_ptr<xercesc::SAX2XMLReader> parser(xercesc::XMLReaderFactory::createXMLReader());
        parser->setFeature(XMLUni::fgSAX2CoreValidation, false);
        parser->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
        parser->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
        parser->setProperty(XMLUni::fgXercesScannerName, const_cast<XMLCh*>(XMLUni::fgWFXMLScanner));
        Handler<Sink> handler(sink);
        parser->setContentHandler(&handler);
        parser->setLexicalHandler(&handler);
        if (!input.inFile) {
            parser->parse(xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(input.bytes.data()),
                                                     input.bytes.size(), "bench"));
        } else {
            const std::u16string path(input.path.begin(), input.path.end());
            parser->parse(xercesc::LocalFileInputSource(path.c_str()));
        }
        require(parser->getErrorCount() == 0, name);
    }
};

#endif

#ifdef BENCH_HAVE_QT

struct Qt {
    static constexpr const char* name = "QXmlStreamReader";

    static std::u16string_view view(QStringView text) { return {text.utf16(), static_cast<std::size_t>(text.size())}; }

    template <class Sink>
    static void read(const Input& input, Sink& sink) {
        if (!input.inFile) {
            QXmlStreamReader reader(
                QByteArray::fromRawData(input.bytes.data(), static_cast<qsizetype>(input.bytes.size())));
            read(reader, sink);
        } else {
            QFile file(QString::fromStdString(input.path));
            require(file.open(QIODevice::ReadOnly), name);
            QXmlStreamReader reader(&file);
            read(reader, sink);
        }
    }

    template <class Sink>
    static void read(QXmlStreamReader& reader, Sink& sink) {
        reader.setNamespaceProcessing(false);
        while (!reader.atEnd()) {
            switch (reader.readNext()) {
                case QXmlStreamReader::StartElement:
                    sink.start(view(reader.qualifiedName()));
                    for (const QXmlStreamAttribute& attribute : reader.attributes()) {
                        sink.attribute(view(attribute.qualifiedName()), view(attribute.value()));
                    }
                    break;
                case QXmlStreamReader::EndElement:
                    sink.end(view(reader.qualifiedName()));
                    break;
                case QXmlStreamReader::Characters:
                    sink.text(view(reader.text()));
                    break;
                case QXmlStreamReader::Comment:
                    sink.comment(view(reader.text()));
                    break;
                default:
                    break;
            }
        }
        require(!reader.hasError(), name);
    }
};

#endif

/// Files that are removed when the program ends.
class TemporaryFiles {
public:
    TemporaryFiles() = default;
    TemporaryFiles(const TemporaryFiles&) = delete;
    TemporaryFiles& operator=(const TemporaryFiles&) = delete;
    ~TemporaryFiles() {
        for (const std::string& path : paths) {
            std::remove(path.c_str());
        }
    }
    std::string add(const std::string& bytes) {
        std::string path = (fs::temp_directory_path() / "moraine_bench_XXXXXX").string();
        const int descriptor = mkstemp(path.data());
        if (descriptor < 0) {
            throw std::runtime_error("no temporary file: " + path);
        }
        close(descriptor);
        paths.push_back(path);
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

private:
    std::vector<std::string> paths;
};

/// Makes what the columns read from. A memory stream is filled once, since the peers read from where the bytes are.
void prepare(Input& input) {
    static TemporaryFiles files;
    if (input.inFile && input.path.empty()) {
        input.path = files.add(input.bytes);
    } else if (!input.inFile && !input.stream) {
        input.stream = std::make_shared<moraine::io::MemoryInputStream>();
        input.stream->setBytes(input.bytes.data(), static_cast<long>(input.bytes.size()));
    }
}

template <class Peer>
bench::Column columnOf(const std::shared_ptr<Input>& input) {
    return {Peer::name,
            [=] {
                Counting sink;
                prepare(*input);
                try {
                    Peer::read(*input, sink);
                } catch (const std::exception& failure) {
                    return sink.told() + failure.what();
                }
                return sink.told();
            },
            [=] {
                Looking sink;
                Peer::read(*input, sink);
                benchmark::DoNotOptimize(sink.sum());
            }};
}

void readingJob(const std::string& name, Input input) {
    const std::size_t size = input.bytes.size();
    const auto shared = std::make_shared<Input>(std::move(input));
    bench::job(name, size,
               {
                   columnOf<Moraine>(shared),
#ifdef BENCH_HAVE_LIBXML2
                   columnOf<TextReader>(shared),
                   columnOf<Libxml2Sax>(shared),
#endif
#ifdef BENCH_HAVE_EXPAT
                   columnOf<Expat>(shared),
#endif
#ifdef BENCH_HAVE_XERCES
                   columnOf<Xerces>(shared),
#endif
#ifdef BENCH_HAVE_QT
                   columnOf<Qt>(shared),
#endif
               });
}

// ---- The inputs.

/// A root with about a megabyte of pieces, of which `piece` gives one for each number.
template <class Piece>
std::string document(Piece piece) {
    std::string bytes = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n";
    for (int i = 0; bytes.size() < 1000000; ++i) {
        bytes += piece(i);
    }
    return bytes + "</root>\n";
}

std::string repeated(int times, const std::string& text) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

std::string records() {
    return document([](int i) {
        const std::string number = std::to_string(i);
        return "  <record id=\"" + number + "\" name=\"Item number " + number + "\" unit='kg' price=\"" +
               std::to_string(i * 37 % 9973) + ".95\" currency=\"EUR\" state=\"" + (i % 3 == 0 ? "sold" : "on stock") +
               "\" remark=\"none &amp; never\" />\n";
    });
}

std::string prose() {
    return document([](int i) {
        return "<p>It was the " + std::to_string(i) +
               "th day of rain, and &quot;nobody&quot; had seen Mr. Smith &amp; Sons at the caf&#233; since <i>then"
               "</i>; the river stood 3 &lt; 4 feet below the bridge, and whoever had a boat kept it near.</p>\n";
    });
}

std::string nested() {
    return document([](int) { return repeated(1000, "<level>") + "x" + repeated(1000, "</level>") + "\n"; });
}

std::string tiny() {
    return document([](int) { return "<e/>"; });
}

std::string cjk() {
    return document([](int i) {
        return "<p n=\"" + std::to_string(i) +
               "\">\xE6\x98\xA5\xE7\x9C\xA0\xE4\xB8\x8D\xE8\xA6\xBA\xE6\x9B\x89\xEF\xBC\x8C\xE8\x99\x95\xE8\x99\x95"
               "\xE8\x81\x9E\xE5\x95\xBC\xE9\xB3\xA5\xE3\x80\x82\xE5\xA4\x9C\xE4\xBE\x86\xE9\xA2\xA8\xE9\x9B\xA8\xE8"
               "\x81\xB2\xEF\xBC\x8C\xE8\x8A\xB1\xE8\x90\xBD\xE7\x9F\xA5\xE5\xA4\x9A\xE5\xB0\x91\xE3\x80\x82</p>\n";
    });
}

std::string white() {
    return document([](int i) {
        const std::string indent(static_cast<std::size_t>(i % 5 + 1) * 8, ' ');
        return "\n\n" + indent + "<entry>\n" + indent + "    <key>k</key>\n\t\t\t\t<value/>\n" + indent +
               "</entry>\r\n";
    });
}

std::string longTexts() {
    return document(
        [](int) { return "<text>" + repeated(2000, "All work and no play makes a dull day, ") + "</text>\n"; });
}

void addShapes() {
    const std::pair<const char*, std::string (*)()> shapes[] = {
        {"attribute records", records},
        {"prose with references", prose},
        {"1,000 deep", nested},
        {"tiny empty elements", tiny},
        {"CJK text", cjk},
        {"much white-space", white},
        {"long texts", longTexts},
    };
    for (const auto& [name, make] : shapes) {
        const std::string bytes = make();
        readingJob(std::string("reader/memory/") + name, {bytes});
        readingJob(std::string("reader/file/") + name, {bytes, true});
    }
}

void addCorpus(const char* folder) {
    std::vector<fs::path> paths;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) {
        std::ifstream stream(path, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        Counting sink;
        try {
            Moraine::read({bytes, true, path.string()}, sink);
        } catch (moraine::lang::Exception& refusal) {
            const std::u16string words = refusal.getMessage()->c_str();
            std::cerr << path.filename().string() << " is left out: " << std::string(words.begin(), words.end())
                      << '\n';
            continue;
        }
        readingJob("reader/memory/" + path.filename().string(), {bytes});
        readingJob("reader/file/" + path.filename().string(), {bytes, true, path.string()});
    }
}

const bench::Jobs jobs{[] {
    addShapes();
    if (const char* const folder = std::getenv("MORAINE_CORPUS")) {
        addCorpus(folder);
    }
}};

}  // namespace
