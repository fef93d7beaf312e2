// Writes an XML document from a table of comma-separated values.

#include "moraine/util/validator/GenericValidator.h"
#include "moraine/xml/DOM/XMLWriter.h"

#include "draft.h"
#include "markup.h"
#include "streams.h"

namespace {

using moraine::WideString;
using moraine::xml::DOM::XMLWriter;

constexpr const char* usage = "usage: xml_build [--plain] [IN [OUT]]\n"
                              "\n"
                              "Reads a table of comma-separated values from IN and writes it to OUT as XML in\n"
                              "UTF-8: a <table>, in it a <row> for each line, in that an element for each cell.\n"
                              "The first line names the cells. A cell in double quotes may hold commas, and double\n"
                              "quotes that are written twice; it ends with its line. Empty lines are passed over.\n"
                              "IN and OUT are standard input and output when they are left away or \"-\".\n"
                              "\n"
                              "  --plain  no line ends and indentation\n"
                              "  --help   print this text\n"
                              "\n"
                              "  printf 'name,price\\nTea & more,3\\n' | xml_build\n";

/// Cuts a line at its commas.
std::vector<std::string> cellsOf(const std::string& line) {
    std::vector<std::string> cells(1);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quoted && c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
            cells.back() += line[++i];
        } else if (c == '"' && (quoted || cells.back().empty())) {
            quoted = !quoted;
        } else if (c == ',' && !quoted) {
            cells.emplace_back();
        } else {
            cells.back() += c;
        }
    }
    if (quoted) {
        throw std::runtime_error("a quote is not closed");
    }
    return cells;
}

/// The names of the cells. Only plain names make tags that every reader takes; the writer itself takes any text.
std::vector<WideString> namesFrom(const std::string& line) {
    moraine::util::validator::GenericValidator validator;
    std::vector<WideString> names;
    for (const std::string& cell : cellsOf(line)) {
        if (validator.isAlphaAndNum(cell.c_str()) != -1 || validator.isAlphabet(cell.substr(0, 1).c_str()) != -1 ||
            cell.empty()) {
            throw std::runtime_error("the name '" + cell + "' is not made of letters, with digits after them");
        }
        names.push_back(console::wide(cell));
    }
    return names;
}

void writeRow(XMLWriter& writer, const std::vector<WideString>& names, const std::vector<std::string>& cells) {
    if (cells.size() != names.size()) {
        throw std::runtime_error(std::to_string(cells.size()) + " cells for " + std::to_string(names.size()) +
                                 " names");
    }
    writer.writeStartElement(u"row");
    for (std::size_t i = 0; i < cells.size(); ++i) {
        writer.writeStartElement(names[i].c_str());
        if (!cells[i].empty()) {
            writer.writeText(markup(console::wide(cells[i]).c_str()).c_str());
        }
        writer.writeEndElement();
    }
    writer.writeEndElement();
}

/// Writes the whole document. Each row goes out as soon as it is read, so tables of any length take the same memory.
void build(moraine::io::InputStream& in, moraine::io::OutputStream& out, bool indented) {
    console::Lines lines(in);
    XMLWriter writer(&out, u"utf-8", indented);
    writer.writeStartElement(u"table");
    std::vector<WideString> names;
    unsigned long number = 0;
    for (std::string line; lines.next(line);) {
        ++number;
        try {
            if (names.empty()) {
                names = namesFrom(line);
            } else if (!line.empty()) {
                writeRow(writer, names, cellsOf(line));
            }
        } catch (const std::exception& e) {
            throw std::runtime_error("line " + std::to_string(number) + ": " + e.what());
        }
    }
    if (names.empty()) {
        throw std::runtime_error("the input is empty: its first line must name the cells");
    }
    writer.writeEndElement();
    writer.close();
}

int program(const console::CommandLine& line) {
    line.expectWords(0, 2);
    const std::string inPath = line.word(0, "-");
    const std::string outPath = line.word(1, "-");
    const std::unique_ptr<moraine::io::InputStream> in = console::openInput(inPath);
    console::ProgressStream progress(*in, inPath, outPath != "-" || !console::printsToTerminal());
    writeTo(outPath, [&](moraine::io::OutputStream& out) { build(progress, out, !line.has("--plain")); });
    return console::done;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {"--plain"}, program);
}
