#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "moraine/Export.h"
#include "moraine/text/WideChar.h"
#include "moraine/xml/DOM/NodeType.h"

namespace moraine::xml::DOM {

/// The base of all nodes of an XML tree.
///
/// Every node, whatever its kind, has a local name, a value, a link to a parent, a list of children, a list of
/// attributes, which are nodes too, and a cursor over its children. The tree is a plain container that checks no rule
/// of XML: any kind of node may stand in any list.
///
/// Ownership. A node owns the nodes in its two lists and destroys them with itself. `appendChild`, `insertChild`,
/// `appendAttribute` and `insertAttribute` take over a node made with `new`, which may stand in one list once; where
/// they throw, it is still the caller's. The remove operations destroy what they remove, and nothing takes a node out
/// of a list alive, so a caller deletes only a node that no list holds. Pointers to nodes and texts are borrowed: a
/// node is good until it is removed or its owner ends, a name or value until it is set again or its node ends. A null
/// entry is stored like any other, and passed over when nodes are destroyed or rendered.
///
/// The lists do not look after the parent link: whoever attaches a node calls `setParentNode` too.
///
/// Destruction. A node destroys its children, first to last and each with all that is below it, then its attributes,
/// and only then its own name and value. So the destructor of a client's class may ask the node's parent for its name,
/// and, up to 100 levels below the node whose end began it all, also its own children; further down these have ended
/// before. The destructor does not call the virtual `doMemClear4Child` and `doMemClear4Attr`, which `removeAll` and
/// `removeAllAttributes` do call. It takes time in proportion to the nodes, and neither memory nor stack for the depth.
///
/// A tree is used by one thread at a time. Not copyable. Operations that store or make something pass on
/// `std::bad_alloc` and have then changed nothing.
class MORAINE_API Node {
public:
    Node();
    Node(const Node& other) = delete;
    virtual ~Node();
    Node& operator=(const Node& other) = delete;

    /// The kind, one of `NodeType`.
    virtual int getNodeType() = 0;

    /// The text form of this node alone, never of a subtree, with its texts as they are. A new string that the
    /// caller owns. An absent name or value counts as empty.
    virtual OwnedWideString getString() = 0;

    /// As `getString`, with the reserved characters of its texts written as references.
    virtual OwnedWideString getReferenceString() = 0;

    /// Sets the local name from markup text: references in it are resolved, as `XMLStringUtil::reference2String` does,
    /// and the result counts up to its first zero unit. A null @p text or a @p length of 0 leaves no name.
    /// Takes exactly @p length units of @p text, which may lie in this node's own name or value.
    virtual void setLocalName(const WideChar* text, unsigned int length);

    /// The local name, zero-terminated, or null. Belongs to the node.
    virtual const WideChar* getLocalName() const;

    /// Sets the link to the parent, which may be null. Touches no list.
    virtual void setParentNode(Node* parent);
    /// The link to the parent, null if none was set.
    virtual Node* getParentNode();

    /// The number of children, null entries included.
    virtual unsigned int getChildCount();

    /// Adds a child at the end. The cursor stays.
    virtual void appendChild(Node* child);

    /// Adds a child before the one at @p index. The cursor keeps its number.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below the count: use `appendChild` to add at the
    ///         end
    virtual void insertChild(Node* child, unsigned int index);

    /// The child at @p index, from 0; null for a null entry.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below the count
    virtual Node* childAt(unsigned int index);

    /// Destroys a child and closes the gap. A cursor at or after @p index moves back by one, so that `moveToNext`
    /// leads to the child after the one removed; removing child 0 under the cursor leaves it at -1, and a negative
    /// cursor moves back with every removal.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below the count
    virtual void removeChild(unsigned int index);

    /// Destroys all children, first to last, by the virtual `doMemClear4Child`, and sets the cursor to 0.
    virtual void removeAll();

    /// The number of attributes, null entries included.
    virtual unsigned int getAttributeCount();

    /// Adds an attribute at the end.
    virtual void appendAttribute(Node* attribute);

    /// Adds an attribute before the one at @p index.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below the count
    virtual void insertAttribute(Node* attribute, unsigned int index);

    /// The attribute at @p index, from 0; null for a null entry.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below the count
    virtual Node* attributeAt(unsigned int index);

    /// Destroys an attribute and closes the gap.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below the count
    virtual void removeAttribute(unsigned int index);

    /// Destroys all attributes, first to last, by the virtual `doMemClear4Attr`.
    virtual void removeAllAttributes();

    /// Sets the value from markup text, on the terms of `setLocalName`.
    virtual void setValue(const WideChar* text, unsigned int length);

    /// The value, zero-terminated, or null. Belongs to the node.
    virtual const WideChar* getValue() const;

    /// Sets the cursor to the first child; true also where there is none.
    virtual bool moveToFirst();

    /// Moves the cursor to the next child. False, with the cursor where it is, if there is none.
    virtual bool moveToNext();

    /// The child under the cursor, or null if the cursor is past the last one.
    /// @throws std::out_of_range if the cursor is negative (see `removeChild`)
    virtual Node* getChild();

    /// The cursor: a signed 32-bit number.
    virtual long getCurrentChildIndex();

protected:
    /// Destroys all children, first to last, and gives back the room of their list.
    virtual void doMemClear4Child();

    /// Destroys all attributes, first to last, and gives back the room of their list.
    virtual void doMemClear4Attr();

    /// The name of the node's class, for failures: static text.
    virtual const WideChar* getClassName() const;

private:
    using List = std::vector<std::unique_ptr<Node>>;

    /// A name or a value: zero-terminated text, or none at all. Short text lies in the node itself.
    struct MORAINE_HIDDEN OwnText {
        /// Takes markup text with its references resolved, up to the first zero unit of the result.
        void set(const WideChar* markup, std::size_t length);

        WideChar* text = nullptr;             // null, or `inside`, or what `outside` holds
        std::unique_ptr<WideChar[]> outside;  // for text that does not fit, its terminator included
        WideChar inside[16];
    };

    MORAINE_HIDDEN void clear(List& list) noexcept;
    MORAINE_HIDDEN void endDescendants() noexcept;
    MORAINE_HIDDEN Node* takeNext() noexcept;
    MORAINE_HIDDEN void checkIndex(const List& list, unsigned int index, long line = __builtin_LINE()) const;

    Node* parentNode = nullptr;
    List children;
    List attributes;
    OwnText localName;
    OwnText value;
    std::int32_t currentChildIndex = 0;
    std::uint32_t level = 0;  // below the node whose end is what ends this one
    Node* above = nullptr;    // on the way down to the lowest node that ends
};

}  // namespace moraine::xml::DOM
