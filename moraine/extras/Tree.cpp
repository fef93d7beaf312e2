#include "moraine/extras/Tree.h"

#include <algorithm>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/XmlCharacters.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/io/FileInputStream.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/DOM/Comment.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/DOM/Text.h"
#include "moraine/xml/DOM/XMLReader.h"
#include "moraine/xml/XMLStringUtil.h"

namespace moraine::extras {
namespace {

using namespace xml::DOM;

std::u16string_view viewOf(const WideChar* text) {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text, text::lengthOf(text));
}

/// Gives a node a literal text by one of its setters, which take markup.
void setLiteral(Node& node, void (Node::*set)(const WideChar*, unsigned int), std::u16string_view text) {
    if (text.find(u'&') == std::u16string_view::npos) {
        (node.*set)(text.data(), static_cast<unsigned int>(text.size()));
        return;
    }
    const OwnedWideString markup =
        xml::XMLStringUtil().string2Reference(text.data(), static_cast<unsigned int>(text.size()));
    (node.*set)(markup->data(), static_cast<unsigned int>(markup->size()));
}

bool isBlank(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), [](WideChar unit) { return isWhite(unit); });
}

Node* attributeOf(Node& element, std::u16string_view name) {
    for (Node& one : attributes(element)) {
        if (extras::name(one) == name) {
            return &one;
        }
    }
    return nullptr;
}

/// Makes nodes of what a reader reads. The children of an element become its own when it ends: which of the blank texts
/// are layout is known only then.
class Loader {
public:
    Loader(io::InputStream& in, WhiteSpace whiteSpace)
        : form(in, WhiteSpace::keep), reader(&form), keepsAll(whiteSpace == WhiteSpace::keep) {}

    std::unique_ptr<Document> load() {
        auto document = std::make_unique<Document>();
        open.push_back({0, 0, false, false, false});
        while (reader.doRead()) {
            readPiece();
        }
        close(*document);
        return document;
    }

private:
    struct Open {
        std::size_t first;       // of its children in `nodes`
        std::size_t firstBlank;  // of its blank texts in `blanks`
        bool keeps;              // all blank texts
        bool hasText;            // that is not blank
        bool hasOther;           // than text
    };

    /// A text of nothing but white-space, of which no node is made before it is known to stay.
    struct Blank {
        std::size_t place;  // before so many of `nodes`
        std::size_t begin;  // in `blankText`
    };

    void readPiece() {
        switch (reader.getNodeType()) {
            case declarationNode:
                readDeclaration();
                break;
            case elementNode:
                reader.isStartElement() ? readStart() : readEnd();
                break;
            case textNode:
                readText(viewOf(reader.getValue()));
                break;
            case commentNode:
                open.back().hasOther = true;
                add(std::make_unique<Comment>(), &Node::setValue, viewOf(reader.getValue()));
                break;
            default:
                break;
        }
    }

    void readText(std::u16string_view text) {
        if (!open.back().hasText && isBlank(text)) {
            blanks.push_back({nodes.size(), blankText.size()});
            blankText.append(text);
            return;
        }
        open.back().hasText = true;
        add(std::make_unique<Text>(), &Node::setValue, text);
    }

    Node& add(std::unique_ptr<Node> node, void (Node::*set)(const WideChar*, unsigned int), std::u16string_view text) {
        setLiteral(*node, set, text);
        nodes.push_back(std::move(node));
        return *nodes.back();
    }

    void readDeclaration() { addAttributes(add(std::make_unique<Declaration>(), &Node::setLocalName, u""), false); }

    /// Whether `xml:space` says that blank texts stay; @p before where it says nothing.
    bool addAttributes(Node& node, bool before) {
        const unsigned int count = reader.getAttributeCount();
        for (unsigned int i = 0; i < count; ++i) {
            const std::u16string_view name = viewOf(reader.getAttributeName(i));
            const std::u16string_view value = viewOf(reader.getAttributeValue(i));
            if (name == u"xml:space") {
                before = value == u"preserve" || (before && value != u"default");
            }
            auto attribute = std::make_unique<Attr>();
            attribute->setParentNode(&node);
            setLiteral(*attribute, &Node::setLocalName, name);
            setLiteral(*attribute, &Node::setValue, value);
            node.appendAttribute(attribute.get());
            static_cast<void>(attribute.release());
        }
        return before;
    }

    void readStart() {
        open.back().hasOther = true;
        auto element = std::make_unique<Element>();
        element->setEmpty(reader.isEmptyElement());
        Node& node = add(std::move(element), &Node::setLocalName, viewOf(reader.getName()));
        const bool keeps = addAttributes(node, open.back().keeps);
        if (!reader.isEmptyElement()) {
            open.push_back({nodes.size(), blanks.size(), keeps, false, false});
        }
    }

    void readEnd() { close(*nodes[open.back().first - 1]); }

    /// Gives a node its children.
    void close(Node& parent) {
        const Open& ended = open.back();
        std::size_t blank = ended.firstBlank;
        const bool keeps = keepsAll || ended.keeps || ended.hasText || !ended.hasOther;
        const auto appendBlanks = [&](std::size_t place) {
            for (; keeps && blank < blanks.size() && blanks[blank].place <= place; ++blank) {
                const std::size_t end = blank + 1 < blanks.size() ? blanks[blank + 1].begin : blankText.size();
                auto text = std::make_unique<Text>();
                setLiteral(*text, &Node::setValue,
                           std::u16string_view(blankText).substr(blanks[blank].begin, end - blanks[blank].begin));
                append(parent, std::move(text));
            }
        };
        for (std::size_t i = ended.first; i < nodes.size(); ++i) {
            appendBlanks(i);
            append(parent, std::move(nodes[i]));
        }
        appendBlanks(nodes.size());
        nodes.resize(ended.first);
        if (blanks.size() > ended.firstBlank) {
            blankText.resize(blanks[ended.firstBlank].begin);
            blanks.resize(ended.firstBlank);
        }
        open.pop_back();
    }

    XmlInputStream form;
    XMLReader reader;
    const bool keepsAll;
    std::vector<Open> open;                    // the document, and the elements that are open
    std::vector<std::unique_ptr<Node>> nodes;  // the children so far, of all of them, one after the other
    std::vector<Blank> blanks;                 // likewise
    WideString blankText;                      // theirs, one after the other
};

/// Adds to a failure where it was.
template <class E>
[[noreturn]] void passOnWith(E& failure, const WideChar* file, long line = __builtin_LINE()) {
    failure.setMessage(words(*failure.getMessage(), u", file ", file).c_str());
    failure.addTrace(u"moraine::extras::loadFile", line);
    throw E(failure);
}

std::u16string_view firstStep(std::u16string_view& path) {
    const std::size_t length = std::min(path.find(u'/'), path.size());
    const std::u16string_view step = path.substr(0, length);
    path.remove_prefix(std::min(length + 1, path.size()));
    return step;
}

/// Calls @p visit for each node below @p top, in document order, until that returns false.
template <class Visit>
void visitBelow(Node& top, Visit visit) {
    struct Place {
        Node* node;
        unsigned int next;
    };
    for (std::vector<Place> way{{&top, 0}}; !way.empty();) {
        Place& here = way.back();
        if (here.next == here.node->getChildCount()) {
            way.pop_back();
            continue;
        }
        Node* const child = here.node->childAt(here.next++);
        if (child != nullptr) {
            if (!visit(*child)) {
                return;
            }
            way.push_back({child, 0});
        }
    }
}

}  // namespace

std::unique_ptr<Document> load(io::InputStream& in, WhiteSpace whiteSpace) {
    return Loader(in, whiteSpace).load();
}

std::unique_ptr<Document> loadFile(const WideChar* name, WhiteSpace whiteSpace) {
    io::FileInputStream file(name);
    try {
        return load(file, whiteSpace);
    } catch (io::DataFormatException& e) {
        passOnWith(e, name);
    } catch (text::UnsupportedEncodingException& e) {
        passOnWith(e, name);
    }
}

Element* root(Document& document) {
    for (Element& one : elements(document)) {
        return &one;
    }
    return nullptr;
}

std::u16string_view name(const Node& node) {
    return viewOf(node.getLocalName());
}

std::u16string_view value(const Node& node) {
    return viewOf(node.getValue());
}

void setName(Node& node, std::u16string_view name) {
    setLiteral(node, &Node::setLocalName, name);
}

void setValue(Node& node, std::u16string_view value) {
    setLiteral(node, &Node::setValue, value);
}

Element* find(Node& node, std::u16string_view path) {
    const std::vector<Element*> all = findAll(node, path);
    return all.empty() ? nullptr : all.front();
}

std::vector<Element*> findAll(Node& node, std::u16string_view path) {
    std::vector<Node*> level{&node};
    std::vector<Element*> found;
    while (!path.empty()) {
        const std::u16string_view step = firstStep(path);
        found.clear();
        for (Node* const one : level) {
            for (Element& element : elements(*one, step)) {
                found.push_back(&element);
            }
        }
        level.assign(found.begin(), found.end());
    }
    return found;
}

std::u16string_view attribute(Node& element, std::u16string_view name, std::u16string_view fallback) {
    const Node* const found = attributeOf(element, name);
    return found == nullptr ? fallback : value(*found);
}

bool hasAttribute(Node& element, std::u16string_view name) {
    return attributeOf(element, name) != nullptr;
}

void setAttribute(Node& element, std::u16string_view name, std::u16string_view value) {
    if (Node* const found = attributeOf(element, name)) {
        setValue(*found, value);
        return;
    }
    auto attribute = std::make_unique<Attr>();
    setName(*attribute, name);
    setValue(*attribute, value);
    element.appendAttribute(attribute.get());
    attribute.release()->setParentNode(&element);
}

bool removeAttribute(Node& element, std::u16string_view name) {
    for (unsigned int i = 0; i < element.getAttributeCount(); ++i) {
        const Node* const one = element.attributeAt(i);
        if (one != nullptr && extras::name(*one) == name) {
            element.removeAttribute(i);
            return true;
        }
    }
    return false;
}

WideString text(Node& node) {
    WideString all(node.getNodeType() == textNode ? value(node) : std::u16string_view());
    visitBelow(node, [&all](Node& one) {
        if (one.getNodeType() == textNode) {
            all.append(value(one));
        }
        return true;
    });
    return all;
}

void setText(Node& node, std::u16string_view text) {
    std::unique_ptr<Text> only;
    if (!text.empty()) {
        only = std::make_unique<Text>();
        setValue(*only, text);
    }
    node.removeAll();
    if (only) {
        append(node, std::move(only));
    }
}

Element& appendElement(Node& parent, std::u16string_view name) {
    auto element = std::make_unique<Element>();
    setName(*element, name);
    return append(parent, std::move(element));
}

Element& appendElement(Node& parent, std::u16string_view name, std::u16string_view text) {
    auto element = std::make_unique<Element>();
    setName(*element, name);
    setText(*element, text);
    return append(parent, std::move(element));
}

void appendText(Node& parent, std::u16string_view text) {
    auto node = std::make_unique<Text>();
    setValue(*node, text);
    append(parent, std::move(node));
}

bool remove(Node& parent, const Node& child) {
    for (unsigned int i = 0; i < parent.getChildCount(); ++i) {
        if (parent.childAt(i) == &child) {
            parent.removeChild(i);
            return true;
        }
    }
    return false;
}

}  // namespace moraine::extras
