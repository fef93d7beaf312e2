// MORAINE_CORPUS may name a folder with XML files, which are read in addition to the generated shapes.

#include "xml_reader.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <moraine/io/FileInputStream.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/lang/Exception.h>
#include <moraine/xml/DOM/XMLReader.h>

namespace {

using namespace moraine;
using bench::Document;
using bench::Piece;
using bench::Pieces;

std::u16string_view view(const WideChar* text) {
    return {text, text::lengthOf(text)};
}

class Moraine : public bench::Parser {
public:
    explicit Moraine(const Document& toRead) : Parser(toRead) {
        if (inMemory()) {
            memory.setBytes(document.bytes.data(), static_cast<long>(document.bytes.size()));
        }
    }

    void read(Pieces& pieces) {
        if (inMemory()) {
            read(memory, pieces);
            memory.skip(-static_cast<long>(document.bytes.size()));
        } else {
            io::FileInputStream file(WideString(document.path.begin(), document.path.end()).c_str());
            read(file, pieces);
        }
    }

private:
    static void read(io::InputStream& stream, Pieces& pieces) {
        xml::DOM::XMLReader reader(&stream);
        static_cast<void>(reader.doRead() && reader.doRead());  // the document and its declaration
        while (reader.doRead()) {
            if (reader.getNodeType() != xml::DOM::elementNode) {
                pieces(reader.getNodeType() == xml::DOM::textNode ? Piece::text : Piece::comment,
                       view(reader.getValue()));
                continue;
            }
            const std::u16string_view name = view(reader.getName());
            const bool starts = reader.isStartElement();
            starts ? pieces(Piece::start, name) : void();
            const unsigned int count = reader.getAttributeCount();
            for (unsigned int i = 0; i < count; ++i) {
                pieces(Piece::name, view(reader.getAttributeName(i)));
                pieces(Piece::value, view(reader.getAttributeValue(i)));
            }
            !starts || reader.isEmptyElement() ? pieces(Piece::end, name) : void();
        }
    }

    io::MemoryInputStream memory;
};

const bench::Reader<Moraine> way("moraine");

std::string repeated(int times, const std::string& text) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

/// A root with about a megabyte of pieces, each with its number in the place of "$".
std::string document(const std::string& piece) {
    std::string bytes = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n";
    for (int i = 0; bytes.size() < 1000000; ++i) {
        for (const char sign : piece) {
            sign == '$' ? bytes += std::to_string(i) : bytes += sign;
        }
    }
    return bytes + "</root>\n";
}

void add(const std::string& name, const std::string& bytes) {
    bench::job<Document>("reader", "memory/" + name, bytes.size(), {bytes, ""});
    const std::string path = bench::temporaryFile(name);
    std::ofstream(path, std::ios::binary) << bytes;
    bench::job<Document>("reader", "file/" + name, bytes.size(), {bytes, path});
}

const bench::Jobs jobs([] {
    const std::pair<const char*, std::string> shapes[] = {
        {"records",
         "  <record id=\"$\" name=\"Item number $\" unit='kg' price=\"$.95\" currency=\"EUR\" state=\"on stock\""
         " remark=\"none &amp; never\" />\n"},
        {"prose",
         "<p>It was the $th day of rain, and &quot;nobody&quot; had seen Mr. Smith &amp; Sons at the caf&#233; "
         "since <i>then</i>; the river stood 3 &lt; 4 feet below the bridge, and whoever had a boat kept it "
         "near.</p>\n"},
        {"deep", repeated(1000, "<level>") + "x" + repeated(1000, "</level>") + "\n"},
        {"tiny", "<e/>"},
        {"CJK", "<p n=\"$\">春眠不覺曉，處處聞啼鳥。夜來風雨聲，花落知多少。</p>\n"},
        {"pretty", "\n\n                <entry>\n                    <key>k</key>\n\t\t\t\t\t<value/>\n"
                   "                </entry>\r\n"},
        {"long text", "<text>" + repeated(2000, "All work and no play makes a dull day, ") + "</text>\n"}};
    for (const auto& [name, piece] : shapes) {
        add(name, document(piece));
    }
    const char* const folder = std::getenv("MORAINE_CORPUS");
    if (folder == nullptr) {
        return;
    }
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const Document document{{std::istreambuf_iterator<char>(stream), {}}, ""};
        Pieces pieces(true);
        try {
            Moraine(document).read(pieces);
            add(file.path().filename(), document.bytes);
        } catch (lang::Exception&) {
            std::fprintf(stderr, "%s is left out: it has what XMLReader refuses\n", file.path().filename().c_str());
        }
    }
});

}  // namespace
