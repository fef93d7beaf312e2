#include <algorithm>
#include <string>

#include "moraine/extras/Files.h"
#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Utf8Bytes.h"
#include "moraine/extras/internal/XmlCharacters.h"
#include "moraine/extras/ReplacingFileOutputStream.h"
#include "moraine/extras/Tree.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/xml/DOM/Declaration.h"

namespace moraine::extras {
namespace {

using namespace xml::DOM;

[[noreturn]] void refuse(const WideChar* sentence, long line = __builtin_LINE()) {
    raise<io::DataFormatException>(u"moraine::extras::save", sentence, line);
}

/// Writes a document node by node.
class Saver {
public:
    Saver(io::OutputStream& stream, Layout wanted) : out(stream), layout(wanted) {}

    void save(Document& document) {
        checkTop(document);
        std::vector<Open> way{{&document, 0, layout == Layout::indented}};
        while (!way.empty()) {
            Open& here = way.back();
            if (here.next == here.node->getChildCount()) {
                if (way.size() > 1) {
                    putEnd(here, way.size() - 2);
                }
                way.pop_back();
                continue;
            }
            Node* const child = here.node->childAt(here.next++);
            if (child == nullptr || child->getNodeType() == declarationNode) {
                continue;
            }
            if (here.indented) {
                putLine(way.size() - 1);
            }
            if (putNode(*child)) {
                way.push_back({child, 0, here.indented && mayIndent(*child)});
            }
        }
        bytes += '\n';
        send(0);
    }

private:
    /// An element whose children are being written, or the document.
    struct Open {
        Node* node;
        unsigned int next;
        bool indented;  // whether its children stand on lines of their own
    };

    void checkTop(Document& document) {
        unsigned int roots = 0;
        Declaration plain;
        Declaration* declaration = &plain;
        for (Node& child : children(document)) {
            roots += child.getNodeType() == elementNode ? 1 : 0;
            if (child.getNodeType() == textNode) {
                refuse(u"Text outside of the root element.");
            }
            if (auto* const found = dynamic_cast<Declaration*>(&child)) {
                declaration = found;
            }
        }
        if (roots != 1) {
            refuse(u"There is not one root element.");
        }
        bytes = "<?xml version=\"";
        putText(declaration->getVersion(), true);
        bytes += "\" encoding=\"utf-8\"";
        if (!declaration->getStandalone() || hasAttribute(*declaration, u"standalone")) {
            bytes += declaration->getStandalone() ? " standalone=\"yes\"" : " standalone=\"no\"";
        }
        bytes += "?>";
        if (layout == Layout::plain) {
            bytes += '\n';
        }
    }

    static bool mayIndent(Node& element) {
        for (Node& child : children(element)) {
            if (child.getNodeType() == textNode) {
                return false;
            }
        }
        return attribute(element, u"xml:space") != u"preserve";
    }

    /// Whether children of it, and its end, are to follow.
    bool putNode(Node& node) {
        switch (node.getNodeType()) {
            case elementNode:
                return putStart(node);
            case textNode:
                putText(value(node), false);
                break;
            case commentNode:
                putComment(value(node));
                break;
            default:
                refuse(u"A node that is no element, text or comment.");
        }
        send(sent);
        return false;
    }

    bool putStart(Node& element) {
        bytes += '<';
        putName(name(element));
        bool isLastEmpty = false;
        for (Node& one : attributes(element)) {
            bytes += ' ';
            putName(name(one));
            bytes += "=\"";
            putText(value(one), true);
            bytes += '"';
            isLastEmpty = value(one).empty();
        }
        bytes += isLastEmpty ? " " : "";  // without it XMLReader takes no empty value
        const bool follow = element.getChildCount() > 0;
        bytes += follow ? ">" : "/>";
        send(sent);
        return follow;
    }

    void putEnd(const Open& element, std::size_t level) {
        if (element.indented) {
            putLine(level);
        }
        bytes += "</";
        putName(name(*element.node));
        bytes += '>';
    }

    /// What lies very deep is not moved in any farther, or blanks would be most of the document.
    void putLine(std::size_t level) { bytes.append(1, '\n').append(2 * std::min<std::size_t>(level, 64), ' '); }

    void putName(std::u16string_view name) {
        const std::size_t start = bytes.size();
        putText(name, true);
        for (std::size_t i = 0, first = 0; i < name.size(); ++i, first = 1) {
            char32_t c = name[i];
            if (isHighSurrogate(c)) {  // of a pair, as has been seen
                c = joined(c, name[++i]);
            }
            const int kind = first == 0 ? nameStart : nameStart | nameByte;
            const bool good = c < 0x80 ? (byteKinds[c] & kind) != 0 : first == 0 ? startsName(c) : goesOnName(c);
            if (!good) {
                refuse(u"A name that XML does not allow.");
            }
        }
        if (bytes.size() == start) {
            refuse(u"An element or attribute without a name.");
        }
    }

    void putComment(std::u16string_view text) {
        if (text.find(u"--") != std::u16string_view::npos || (!text.empty() && text.back() == u'-')) {
            refuse(u"'--' in a comment.");
        }
        bytes += "<!--";
        forEachCharacter(text, [this](char32_t c) { putCharacter(c); });
        bytes += "-->";
    }

    void putText(std::u16string_view text, bool inValue) {
        forEachCharacter(text, [this, inValue](char32_t c) {
            switch (c) {
                case '&':
                    bytes += "&amp;";
                    break;
                case '<':
                    bytes += "&lt;";
                    break;
                case '>':
                    bytes += "&gt;";
                    break;
                case '\r':
                    bytes += "&#13;";
                    break;
                case '"':
                    bytes += inValue ? "&quot;" : "\"";
                    break;
                case '\t':
                    bytes += inValue ? "&#9;" : "\t";
                    break;
                case '\n':
                    bytes += inValue ? "&#10;" : "\n";
                    break;
                default:
                    putCharacter(c);
                    break;
            }
        });
    }

    template <class Put>
    static void forEachCharacter(std::u16string_view text, Put put) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            char32_t c = text[i];
            if (isHighSurrogate(c) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
                c = joined(c, text[++i]);
            }
            if (!isXmlCharacter(c)) {
                refuse(u"A character that XML does not allow.");
            }
            put(c);
        }
    }

    void putCharacter(char32_t c) {
        if (c < 0x80) {
            bytes += static_cast<char>(c);
            return;
        }
        char room[longestCharacter];
        bytes.append(room, putUtf8(room, c));
    }

    /// Writes what is at hand, if it is more than that.
    void send(std::size_t most) {
        if (bytes.size() > most) {
            writeAll(out, bytes);
            bytes.clear();
        }
    }

    static constexpr std::size_t sent = 32768;

    io::OutputStream& out;
    const Layout layout;
    std::string bytes;
};

}  // namespace

void save(Document& document, io::OutputStream& out, Layout layout) {
    Saver(out, layout).save(document);
}

void saveFile(Document& document, const WideChar* name, Layout layout) {
    ReplacingFileOutputStream file(name);
    save(document, file, layout);
    file.close();
}

}  // namespace moraine::extras
