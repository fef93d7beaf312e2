#include <moraine/io/MemoryInputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/text/DecoderManager.h>
#include <moraine/text/EncoderManager.h>
#include <moraine/util/PropertyManager.h>
#include <moraine/xml/DOM/Element.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "bench.h"

// Whether cost is in proportion to the input: the same work at sizes that are powers of ten apart. What counts is that
// the throughput of a job is the same at each size.

namespace {

using namespace moraine;

constexpr std::size_t blockSize = 10240;

/// Hands out bytes that it does not own, in blocks.
class Source : public io::InputStream {
public:
    explicit Source(const std::string& held, std::size_t longest = blockSize) : bytes(held), block(longest) {}
    unsigned int read(char* buffer, unsigned int length) override {
        const std::size_t count = std::min({block, std::size_t{length}, bytes.size() - position});
        std::memcpy(buffer, bytes.data() + position, count);
        position += count;
        return static_cast<unsigned int>(count);
    }
    void close() override {}
    void skip(long count) override { position = static_cast<std::size_t>(static_cast<long>(position) + count); }

private:
    const std::string& bytes;
    std::size_t block;
    std::size_t position = 0;
};

void require(bool held) {
    if (!held) {
        std::abort();
    }
}

/// Registers a job whose input is made in front of its runs and dropped behind them.
template <class Input>
void add(const std::string& name, std::size_t bytes, Input (*make)(std::size_t size), std::size_t size,
         std::function<void(const Input&)> run) {
    const auto input = std::make_shared<std::optional<Input>>();
    bench::job("growth/" + name, bytes,
               {{"moraine", [] { return std::string("required by each run"); }, [=] { run(**input); },
                 [=] { *input = make(size); }, [=] { input->reset(); }}});
}

template <class Text>
Text filled(const char* piece, std::size_t size) {
    const Text unit(piece, piece + std::strlen(piece));
    Text text;
    text.reserve(size);
    while (text.size() < size) {
        text.append(unit, 0, size - text.size());
    }
    return text;
}

const std::string prolog = "<?xml version=\"1.0\"?>";

// Input, by size.

/// Text as programs have it: mostly ASCII, now and then a letter of two bytes.
WideString someText(std::size_t size) {
    WideString text = filled<WideString>("Plain text with a blank here and there, a sign; and an Umlaut ", size);
    for (std::size_t at = 55; at < size; at += 62) {
        text[at] = u'\u00DC';
    }
    return text;
}

std::string someBytes(std::size_t size) {
    return filled<std::string>("bytes of any kind: \x01\xFE\x7F\x80", size);
}

template <const WideChar* encoding>
std::string encodedText(std::size_t size) {
    const WideString text = someText(size);
    return *std::unique_ptr<text::IEncoder>(text::EncoderManager().getEncoder(encoding))
                ->doEncodeW2M(text.data(), static_cast<unsigned int>(size), true);
}

std::string document(std::size_t size) {
    static const std::string record =
        "<record id=\"17\" kind=\"a &amp; b\"><name>A name</name><text>Some text &lt; more</text><flag/></record>\r\n";
    return prolog + "<records>" + filled<std::string>(record.c_str(), size / record.size() * record.size()) +
           "</records>";
}

/// Lines of 64 bytes, each with another name.
std::string propertyLines(std::size_t size) {
    std::string text;
    text.reserve(size + 64);
    for (std::size_t i = 100'000'000; text.size() < size; ++i) {
        text.append("property_").append(std::to_string(i)).append("=a value of a usual length, with blanks in it\n");
    }
    return text;
}

template <int kind>
std::string oneToken(std::size_t size) {
    static const std::pair<const char*, const char*> around[] = {
        {"<a>", "</a>"}, {"<!--", "-->"}, {"<a b=\"", "\" />"}};
    return prolog + around[kind].first + filled<std::string>("some text that is read in many blocks, ", size) +
           around[kind].second;
}

/// Elements nested so deep, as often as it takes for at least 100,000 elements.
std::string nestedElements(std::size_t depth) {
    std::string text = prolog;
    for (std::size_t left = std::max<std::size_t>(100'000 / depth, 1); left > 0; --left) {
        for (std::size_t i = 0; i < depth; ++i) {
            text += "<n>";
        }
        for (std::size_t i = 0; i < depth; ++i) {
            text += "</n>";
        }
    }
    return text;
}

std::size_t elementCount(std::size_t depth) {
    return depth * std::max<std::size_t>(100'000 / depth, 1);
}

// Work.

void readPieces(const std::string& text) {
    Source source(text);
    xml::DOM::XMLReader reader(&source);
    std::size_t pieces = 0;
    while (reader.doRead()) {
        ++pieces;
    }
    require(pieces > 2);
}

void writeRecords(std::size_t size) {
    io::MemoryOutputStream target;
    xml::DOM::XMLWriter writer(&target, u"UTF-8", true);
    writer.writeStartElement(u"records");
    while (target.getSize() < size) {
        writer.writeStartElement(u"record");
        writer.writeAttribute(u"id", u"17");
        writer.writeAttribute(u"kind", u"a & b");
        writer.writeStartElement(u"text");
        writer.writeText(u"Some text of a usual length, with < and > in it");
        writer.writeEndElement();
        writer.writeEndElement();
    }
    writer.writeEndElement();
    writer.close();
}

void writeNested(std::size_t depth) {
    io::MemoryOutputStream target;
    xml::DOM::XMLWriter writer(&target, u"UTF-8", false);
    for (std::size_t left = elementCount(depth) / depth; left > 0; --left) {
        for (std::size_t i = 0; i < depth; ++i) {
            writer.writeStartElement(u"n");
        }
        for (std::size_t i = 0; i < depth; ++i) {
            writer.writeEndElement();
        }
    }
    writer.close();
    require(target.getSize() > elementCount(depth));
}

void makeAndDestroyTree(std::size_t depth) {
    for (std::size_t left = elementCount(depth) / depth; left > 0; --left) {
        xml::DOM::Element root;
        xml::DOM::Node* parent = &root;
        for (std::size_t i = 1; i < depth; ++i) {
            auto child = std::make_unique<xml::DOM::Element>();
            child->setLocalName(u"n", 1);
            child->setParentNode(parent);
            parent->appendChild(child.get());
            parent = child.release();
        }
    }
}

void addCodecs(const char* name, const WideChar* encoding, std::string (*encoded)(std::size_t), const char* sizeName,
               std::size_t size) {
    const std::string start = name;
    add<WideString>(start + "-encode/" + sizeName, size, someText, size, [=](const WideString& text) {
        const std::unique_ptr<text::IEncoder> encoder(text::EncoderManager().getEncoder(encoding));
        require(encoder->doEncodeW2M(text.data(), static_cast<unsigned int>(size), true)->size() >= size);
    });
    add<std::string>(start + "-decode/" + sizeName, size, encoded, size, [=](const std::string& bytes) {
        const std::unique_ptr<text::IDecoder> decoder(text::DecoderManager().getDecoder(encoding));
        require(decoder->doDecodeM2W(bytes.data(), static_cast<unsigned int>(bytes.size()), true)->size() == size);
    });
}

constexpr WideChar utf8[] = u"UTF-8";
constexpr WideChar base64[] = u"BASE64";
constexpr WideChar url[] = u"URL";

std::size_t sameSize(std::size_t size) {
    return size;
}

void addForSize(const std::string& name, std::size_t size) {
    add<std::string>("reader/" + name, size, document, size, readPieces);
    add<std::size_t>("writer/" + name, size, sameSize, size, writeRecords);
    addCodecs("utf8", utf8, encodedText<utf8>, name.c_str(), size);
    addCodecs("base64", base64, encodedText<base64>, name.c_str(), size);
    addCodecs("url", url, encodedText<url>, name.c_str(), size);
    add<std::string>("memory-output/" + name, size, someBytes, 1000, [=](const std::string& piece) {
        io::MemoryOutputStream target;
        while (target.getSize() < size) {
            target.write(piece.data(), 1000);
        }
    });
    add<std::string>("memory-input/" + name, size, someBytes, size, [=](const std::string& bytes) {
        io::MemoryInputStream source;
        source.setBytes(bytes.data(), static_cast<long>(size));
        char block[blockSize];
        std::size_t total = 0;
        while (const unsigned int count = source.read(block, blockSize)) {
            total += count;
        }
        require(total == size);
    });
    // In pieces that leave room in the reader's buffer, see PropertyManager::read.
    add<std::string>("properties/" + name, size, propertyLines, size, [=](const std::string& lines) {
        Source source(lines, 4096);
        util::PropertyManager properties;
        properties.read(&source, utf8);
        require(properties.count() == lines.size() / 64);
    });
}

const bench::Jobs jobs{[] {
    for (const auto& [name, size] : {std::pair("10kB", 10'000),
                                     {"100kB", 100'000},
                                     {"1MB", 1'000'000},
                                     {"10MB", 10'000'000},
                                     {"100MB", 100'000'000}}) {
        addForSize(name, static_cast<std::size_t>(size));
    }
    for (std::size_t depth = 10; depth <= 1'000'000; depth *= 10) {
        const std::string name = std::to_string(depth);
        const std::size_t bytes = elementCount(depth) * std::strlen("<n></n>");
        add<std::string>("nesting-reader/" + name, bytes, nestedElements, depth, readPieces);
        add<std::size_t>("nesting-writer/" + name, bytes, sameSize, depth, writeNested);
        add<std::size_t>("nesting-tree/" + name, bytes, sameSize, depth, makeAndDestroyTree);
    }
    for (const auto& [name, size] :
         {std::pair("1MB", 1'000'000), {"4MB", 4'000'000}, {"16MB", 16'000'000}, {"64MB", 64'000'000}}) {
        const auto bytes = static_cast<std::size_t>(size);
        const std::string suffix = std::string("/") + name;
        add<std::string>("token-text" + suffix, bytes, oneToken<0>, bytes, readPieces);
        add<std::string>("token-comment" + suffix, bytes, oneToken<1>, bytes, readPieces);
        add<std::string>("token-attribute" + suffix, bytes, oneToken<2>, bytes, readPieces);
    }
}};

}  // namespace
