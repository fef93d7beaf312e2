// Reads an XML file and writes it again with one tag a line, indented by its level.

#include <vector>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/FileInputStream.h"
#include "moraine/xml/DOM/XMLReader.h"
#include "moraine/xml/DOM/XMLWriter.h"

#include "draft.h"
#include "markup.h"
#include "streams.h"

namespace {

using moraine::WideString;
using moraine::xml::DOM::XMLReader;
using moraine::xml::DOM::XMLWriter;

constexpr const char* usage = "usage: xml_reformat IN OUT\n"
                              "\n"
                              "Reads the XML file IN and writes it to OUT in UTF-8, indented, with line ends\n"
                              "CR LF. OUT may be IN, or \"-\" for standard output. A document that cannot be\n"
                              "written so, such as one with two texts in one element, is refused, and OUT stays\n"
                              "as it was.\n"
                              "\n"
                              "  --help  print this text\n";

/// With more levels than this the blanks of the indentation would be more than the document.
constexpr std::size_t deepest = 1000;

/// Passes each piece that a reader finds on to a writer.
class Copier {
public:
    Copier(XMLReader& source, XMLWriter& target) : reader(source), writer(target) {}

    void copyAll() {
        while (reader.doRead()) {
            copyPiece();
        }
        if (!open.empty()) {
            refuse("the element is not closed");
        }
        writer.close();
    }

    /// Where the copying stands, for messages.
    std::string place() const {
        return open.empty() ? "at the top level" : "in <" + console::narrow(open.back()) + ">";
    }

private:
    void copyPiece() {
        switch (reader.getNodeType()) {
            case moraine::xml::DOM::elementNode:
                if (reader.isStartElement()) {
                    copyStartTag();
                }
                if (reader.isEmptyElement() || !reader.isStartElement()) {
                    writer.writeEndElement();
                    open.pop_back();
                }
                break;
            case moraine::xml::DOM::textNode:
                writer.writeText(markup(reader.getValue()).c_str());
                break;
            case moraine::xml::DOM::commentNode:
                writer.writeComment(markup(reader.getValue()).c_str());
                break;
            default:
                // The writer makes the document and a declaration of its own.
                break;
        }
    }

    void copyStartTag() {
        if (open.size() == deepest) {
            refuse("elements are nested too deep to be indented");
        }
        open.emplace_back(reader.getName());
        writer.writeStartElement(markup(reader.getName()).c_str());
        for (unsigned int i = 0; i < reader.getAttributeCount(); ++i) {
            writer.writeAttribute(markup(reader.getAttributeName(i)).c_str(),
                                  markup(reader.getAttributeValue(i)).c_str());
        }
    }

    [[noreturn]] void refuse(const char* reason) const { throw std::runtime_error(place() + ": " + reason); }

    XMLReader& reader;
    XMLWriter& writer;
    std::vector<WideString> open;
};

int reformat(const std::string& inPath, const std::string& outPath) {
    moraine::io::FileInputStream in(console::wide(inPath).c_str());
    console::ProgressStream progress(in, inPath, outPath != "-" || !console::printsToTerminal());
    XMLReader reader(&progress);

    writeTo(outPath, [&](moraine::io::OutputStream& out) {
        XMLWriter writer(&out, u"utf-8", true);
        Copier copier(reader, writer);
        try {
            copier.copyAll();
        } catch (moraine::io::DataFormatException&) {
            std::fprintf(stderr, "%s cannot be reformatted; it fails %s:\n", inPath.c_str(), copier.place().c_str());
            throw;
        }
    });
    return console::done;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {}, [](const console::CommandLine& line) {
        line.expectWords(2, 2);
        return reformat(line.words[0], line.words[1]);
    });
}
