// Prints what an XML file holds as an indented outline, then how much of each kind and how fast it was read.

#include <algorithm>
#include <array>

#include "moraine/io/FileInputStream.h"
#include "moraine/xml/DOM/XMLReader.h"

#include "streams.h"

namespace {

using moraine::WideChar;
using moraine::WideString;
using moraine::xml::DOM::XMLReader;

constexpr const char* usage = "usage: xml_outline [--quiet] FILE\n"
                              "\n"
                              "Prints an outline of an XML file: each document, declaration, element, text and\n"
                              "comment on a line of its own, indented by its level, with attributes and the\n"
                              "beginning of the text. Totals by kind, time and speed follow.\n"
                              "\n"
                              "  --quiet  print the totals alone\n"
                              "  --help   print this text\n";

enum Kind { document, declaration, startTag, emptyTag, endTag, text, comment, attribute, kindCount };

constexpr std::array<const char*, kindCount> labels = {"documents", "declarations", "start tags", "empty tags",
                                                       "end tags",  "texts",        "comments",   "attributes"};

struct Totals {
    std::array<unsigned long, kindCount> count{};

    unsigned long nodes() const {
        unsigned long sum = 0;
        for (int kind = document; kind < attribute; ++kind) {
            sum += count[static_cast<std::size_t>(kind)];
        }
        return sum;
    }
};

Kind kindOf(XMLReader& reader) {
    switch (reader.getNodeType()) {
        case moraine::xml::DOM::documentNode:
            return document;
        case moraine::xml::DOM::declarationNode:
            return declaration;
        case moraine::xml::DOM::textNode:
            return text;
        case moraine::xml::DOM::commentNode:
            return comment;
        default:
            return reader.isEmptyElement() ? emptyTag : reader.isStartElement() ? startTag : endTag;
    }
}

/// The beginning of a text on one line: control characters become blanks, and runs of blanks one.
std::string shortened(const WideChar* value) {
    constexpr std::size_t most = 60;
    WideString line;
    for (; value != nullptr && *value != 0 && line.size() < most; ++value) {
        const WideChar unit = *value < 0x20 || *value == 0x7F ? u' ' : *value;
        if (unit != u' ' || (!line.empty() && line.back() != u' ')) {
            line += unit;
        }
    }
    const bool cut = value != nullptr && *value != 0;
    return '"' + console::narrow(line) + '"' + (cut ? "..." : "");
}

void printLine(XMLReader& reader, Kind kind, std::size_t level) {
    // Very deep levels share one column.
    std::string line(2 * std::min<std::size_t>(level, 40), ' ');
    switch (kind) {
        case document:
            line += "document";
            break;
        case declaration:
            line += "declaration";
            break;
        case text:
            line += "text " + shortened(reader.getValue());
            break;
        case comment:
            line += "comment " + shortened(reader.getValue());
            break;
        default:
            line += "element " + console::narrow(reader.getName());
            break;
    }
    for (unsigned int i = 0; i < reader.getAttributeCount(); ++i) {
        line += ' ' + console::narrow(reader.getAttributeName(i)) + '=' + shortened(reader.getAttributeValue(i));
    }
    line += '\n';
    std::printf("%s", line.c_str());
}

/// Reads the whole document; prints its outline unless `quiet`.
Totals read(XMLReader& reader, bool quiet) {
    Totals totals;
    std::size_t level = 0;
    while (reader.doRead()) {
        const Kind kind = kindOf(reader);
        ++totals.count[kind];
        totals.count[attribute] += kind == declaration ? 0 : reader.getAttributeCount();
        if (kind == endTag) {
            --level;
        } else if (!quiet) {
            printLine(reader, kind, level);
        }
        if (kind == startTag || kind == document) {
            ++level;
        }
    }
    return totals;
}

int outline(const std::string& path, bool quiet) {
    const auto start = std::chrono::steady_clock::now();
    moraine::io::FileInputStream file(console::wide(path).c_str());
    console::ProgressStream stream(file, path, quiet || !console::printsToTerminal());
    XMLReader reader(&stream);
    const Totals totals = read(reader, quiet);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    if (!quiet) {
        std::printf("\n");
    }
    for (std::size_t kind = 0; kind < kindCount; ++kind) {
        std::printf("%-12s %10lu\n", labels[kind], totals.count[kind]);
    }
    std::printf("%-12s %10lu\n", "elements", totals.count[startTag] + totals.count[emptyTag]);
    std::printf("%-12s %10lu\n", "nodes", totals.nodes());
    const double megabytes = static_cast<double>(stream.getBytes()) / 1e6;
    std::printf("%.3f MB in %.1f ms, %.1f MB/s\n", megabytes, elapsed.count() * 1e3, megabytes / elapsed.count());
    return console::done;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {"--quiet"}, [](const console::CommandLine& line) {
        line.expectWords(1, 1);
        return outline(line.words[0], line.has("--quiet"));
    });
}
