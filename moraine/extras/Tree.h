#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "moraine/extras/Export.h"
#include "moraine/extras/XmlInputStream.h"
#include "moraine/io/InputStream.h"
#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"
#include "moraine/xml/DOM/Document.h"
#include "moraine/xml/DOM/Element.h"

/// @file
/// Trees of `xml::DOM` nodes: load, look, change, save. All names, values and texts are literal: "a<b" is "a<b", and no
/// caller sees or writes a reference. Trees may be as deep and as wide as memory allows; nothing here is recursive.
///
///     const auto book = moraine::extras::loadFile(u"book.xml");
///     for (auto& chapter : moraine::extras::elements(*moraine::extras::root(*book), u"chapter")) {
///         moraine::extras::setAttribute(chapter, u"state", u"read");
///     }
///     moraine::extras::saveFile(*book, u"book.xml");
///
/// Views and references are good until the node that they are of is changed or removed. A tree is used by one thread at
/// a time. Everything that makes or stores something may throw `std::bad_alloc`.

namespace moraine::extras {

/// Reads any well-formed XML 1.0 document, as `XmlInputStream` takes it, to its end.
///
/// The document's children are a `Declaration`, and the comments and the root element in their order. Texts of nothing
/// but white-space between tags are layout and left out, but in elements that have other text as well, in elements that
/// have nothing else, below `xml:space="preserve"`, and everywhere with `WhiteSpace::keep`. So mixed content stays
/// whole.
/// @throws io::DataFormatException, text::UnsupportedEncodingException, io::IOException as `XmlInputStream` does: what
/// is
///         wrong, with line and column
MORAINE_EXTRAS_API std::unique_ptr<xml::DOM::Document> load(io::InputStream& in,
                                                            WhiteSpace whiteSpace = WhiteSpace::drop);

/// As `load`, from a file, which the messages of failures then name too: "... : line 7, column 12, file book.xml".
/// @throws lang::IllegalArgumentException, io::FileNotFoundException, lang::Exception as `io::FileInputStream` does
MORAINE_EXTRAS_API std::unique_ptr<xml::DOM::Document> loadFile(const WideChar* name,
                                                                WhiteSpace whiteSpace = WhiteSpace::drop);

/// How a document is written.
enum class Layout {
    indented,  ///< tags on lines of their own, two blanks in for each level, where that changes no text
    plain      ///< nothing is added
};

/// Writes a document in real UTF-8; `load` gives the same tree again. Elements that have a text, or lie below
/// `xml:space="preserve"`, are never indented. The declaration is that of the document, with the encoding that it is
/// written in. The stream is neither flushed nor closed.
/// @throws io::DataFormatException if that would be no XML: "There is not one root element.", "Text outside of the root
///         element.", "'--' in a comment.", "An element or attribute without a name.", "A node that is no element, text
///         or comment.", "A character that XML does not allow."; some of the document may have been written
/// @throws io::IOException as `writeAll` does
MORAINE_EXTRAS_API void save(xml::DOM::Document& document, io::OutputStream& out, Layout layout = Layout::indented);

/// As `save`, to a file, which is replaced in one step when all is written, and otherwise as it was.
/// @throws lang::IllegalArgumentException, io::FileNotFoundException, io::IOException as `ReplacingFileOutputStream`
/// does
MORAINE_EXTRAS_API void saveFile(xml::DOM::Document& document, const WideChar* name, Layout layout = Layout::indented);

/// The root element; null if there is none.
MORAINE_EXTRAS_API xml::DOM::Element* root(xml::DOM::Document& document);

/// The name of an element or attribute; empty if there is none.
MORAINE_EXTRAS_API std::u16string_view name(const xml::DOM::Node& node);

/// The value of an attribute, text or comment; empty if there is none.
MORAINE_EXTRAS_API std::u16string_view value(const xml::DOM::Node& node);

/// Sets the name of a node.
MORAINE_EXTRAS_API void setName(xml::DOM::Node& node, std::u16string_view name);

/// Sets the value of an attribute, text or comment. An empty one leaves none.
MORAINE_EXTRAS_API void setValue(xml::DOM::Node& node, std::u16string_view value);

/// The nodes in one of the two lists of another one, for a range-for; null entries are passed over. The list must not
/// be changed on the way.
template <class Kind>
class Nodes {
public:
    /// What a range-for needs.
    class Iterator {
    public:
        /// The first node of @p all from @p place on.
        Iterator(const Nodes& all, unsigned int place) : nodes(&all), index(place) { settle(); }

        /// The node.
        Kind& operator*() const { return static_cast<Kind&>(*nodes->at(index)); }
        /// The node.
        Kind* operator->() const { return &**this; }
        /// Whether the two are at different places.
        bool operator!=(const Iterator& other) const { return index != other.index; }
        /// Moves to the next node.
        Iterator& operator++() {
            ++index;
            settle();
            return *this;
        }

    private:
        void settle() {
            while (index < nodes->count && !nodes->belongs(index)) {
                ++index;
            }
        }

        const Nodes* nodes;
        unsigned int index;
    };

    /// @param node whose nodes these are; borrowed
    /// @param attributes whether they are its attributes, and not its children
    /// @param type of the nodes wanted, an `xml::DOM::NodeType`; 0 for any
    /// @param wanted the name of the nodes wanted; none for any
    Nodes(xml::DOM::Node& node, bool attributes, int type, std::optional<std::u16string_view> wanted)
        : parent(&node), ofAttributes(attributes), kind(type), named(wanted),
          count(attributes ? node.getAttributeCount() : node.getChildCount()) {}

    /// The first node.
    Iterator begin() const { return {*this, 0}; }
    /// After the last node.
    Iterator end() const { return {*this, count}; }

private:
    xml::DOM::Node* at(unsigned int index) const {
        return ofAttributes ? parent->attributeAt(index) : parent->childAt(index);
    }
    bool belongs(unsigned int index) const {
        xml::DOM::Node* const node = at(index);
        return node != nullptr && (kind == 0 || node->getNodeType() == kind) && (!named || name(*node) == *named);
    }

    xml::DOM::Node* parent;
    bool ofAttributes;
    int kind;
    std::optional<std::u16string_view> named;
    unsigned int count;
};

/// The children of a node, of every kind.
inline Nodes<xml::DOM::Node> children(xml::DOM::Node& node) {
    return {node, false, 0, std::nullopt};
}

/// The attributes of an element.
inline Nodes<xml::DOM::Node> attributes(xml::DOM::Node& node) {
    return {node, true, 0, std::nullopt};
}

/// The elements directly in a node.
inline Nodes<xml::DOM::Element> elements(xml::DOM::Node& node) {
    return {node, false, xml::DOM::elementNode, std::nullopt};
}

/// The elements of that name directly in a node. The name must live as long as the range.
inline Nodes<xml::DOM::Element> elements(xml::DOM::Node& node, std::u16string_view name) {
    return {node, false, xml::DOM::elementNode, name};
}

/// The first element at the end of a path of names, as in `u"library/book/title"`, each step one level down from
/// @p node; null if there is none.
MORAINE_EXTRAS_API xml::DOM::Element* find(xml::DOM::Node& node, std::u16string_view path);

/// All elements at the end of such a path, in document order.
MORAINE_EXTRAS_API std::vector<xml::DOM::Element*> findAll(xml::DOM::Node& node, std::u16string_view path);

/// The value of the attribute of that name; @p fallback if there is none.
MORAINE_EXTRAS_API std::u16string_view attribute(xml::DOM::Node& element, std::u16string_view name,
                                                 std::u16string_view fallback = u"");

/// Whether there is an attribute of that name.
MORAINE_EXTRAS_API bool hasAttribute(xml::DOM::Node& element, std::u16string_view name);

/// Adds or changes an attribute.
MORAINE_EXTRAS_API void setAttribute(xml::DOM::Node& element, std::u16string_view name, std::u16string_view value);

/// Removes an attribute; false if there is none of that name.
MORAINE_EXTRAS_API bool removeAttribute(xml::DOM::Node& element, std::u16string_view name);

/// All text in a node, that of elements inside included, in one piece.
MORAINE_EXTRAS_API WideString text(xml::DOM::Node& node);

/// Puts one text in the place of all children; none if it is empty.
MORAINE_EXTRAS_API void setText(xml::DOM::Node& node, std::u16string_view text);

/// Adds a node at the end of a parent's children and sets its link to the parent.
/// @throws std::bad_alloc if there is no room; the node is then destroyed
template <class Kind>
Kind& append(xml::DOM::Node& parent, std::unique_ptr<Kind> child) {
    parent.appendChild(child.get());
    child->setParentNode(&parent);
    return *child.release();
}

/// Adds an element at the end of a parent's children.
MORAINE_EXTRAS_API xml::DOM::Element& appendElement(xml::DOM::Node& parent, std::u16string_view name);

/// Adds an element that holds a text.
MORAINE_EXTRAS_API xml::DOM::Element& appendElement(xml::DOM::Node& parent, std::u16string_view name,
                                                    std::u16string_view text);

/// Adds a text at the end of a parent's children.
MORAINE_EXTRAS_API void appendText(xml::DOM::Node& parent, std::u16string_view text);

/// Removes a child, with all that is below it; false if it is no child of that parent.
MORAINE_EXTRAS_API bool remove(xml::DOM::Node& parent, const xml::DOM::Node& child);

}  // namespace moraine::extras
