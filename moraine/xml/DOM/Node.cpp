#include "moraine/xml/DOM/Node.h"

#include <cstdint>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/xml/internal/References.h"

namespace moraine::xml::DOM {
namespace {

using Nodes = std::vector<std::unique_ptr<Node>>;

unsigned int countOf(const Nodes& list) {
    return static_cast<unsigned int>(list.size());
}

void insertInto(Nodes& list, Node* node, unsigned int index) {
    // The room is made first, so that a failure leaves the node to the caller.
    list.emplace(list.begin() + index);
    list[index].reset(node);
}

void removeFrom(Nodes& list, unsigned int index) {
    list[index].reset();
    list.erase(list.begin() + index);
}

/// So many levels of a tree end as told, by recursion.
constexpr std::uint32_t mostLevels = 100;

}  // namespace

void Node::OwnText::set(const WideChar* markup, std::size_t length) {
    if (markup == nullptr || length == 0) {
        text = nullptr;
        outside.reset();
        return;
    }
    WideString room;
    const std::u16string_view kept = storedForm(markup, length, room);
    std::unique_ptr<WideChar[]> longer(kept.size() < std::size(inside) ? nullptr : new WideChar[kept.size() + 1]);
    // What is kept may lie in the text that it replaces.
    text = longer ? longer.get() : inside;
    std::memmove(text, kept.data(), kept.size() * sizeof(WideChar));
    text[kept.size()] = 0;
    outside = std::move(longer);
}

Node::Node() = default;

// A node destroys its children and attributes while its own texts still stand. That takes stack for every level, so far
// below the node whose end began it all another way is taken.
Node::~Node() {
    if (level < mostLevels) {
        clear(children);
        clear(attributes);
    } else {
        endDescendants();
    }
}

/// Destroys the nodes of a list, first to last.
void Node::clear(List& list) noexcept {
    List doomed;
    doomed.swap(list);
    for (std::unique_ptr<Node>& node : doomed) {
        if (node) {
            node->level = level + 1;
            node.reset();
        }
    }
}

/// Destroys what is below this node, the lowest first, so that a node still stands when those below it end. Neither
/// stack nor memory is needed for the levels: each node on the way down knows the one above.
void Node::endDescendants() noexcept {
    level = 0;
    for (Node* at = this;;) {
        if (Node* const next = at->takeNext()) {
            next->level = 0;
            next->above = at;
            at = next;
        } else if (at == this) {
            return;
        } else {
            const std::unique_ptr<Node> ended(at);
            at = at->above;
        }
    }
}

/// Takes the next node out of the children, or if there is none out of the attributes; null if nothing is left. `level`
/// counts those that are gone.
Node* Node::takeNext() noexcept {
    while (!children.empty() || !attributes.empty()) {
        List& list = children.empty() ? attributes : children;
        while (level < list.size()) {
            if (Node* const node = list[level++].release()) {
                return node;
            }
        }
        List().swap(list);
        level = 0;
    }
    return nullptr;
}

void Node::setLocalName(const WideChar* text, unsigned int length) {
    localName.set(text, length);
}

const WideChar* Node::getLocalName() const {
    return localName.text;
}

void Node::setParentNode(Node* parent) {
    parentNode = parent;
}

Node* Node::getParentNode() {
    return parentNode;
}

unsigned int Node::getChildCount() {
    return countOf(children);
}

void Node::appendChild(Node* child) {
    children.emplace_back(child);
}

void Node::insertChild(Node* child, unsigned int index) {
    checkIndex(children, index);
    insertInto(children, child, index);
}

Node* Node::childAt(unsigned int index) {
    checkIndex(children, index);
    return children[index].get();
}

void Node::removeChild(unsigned int index) {
    checkIndex(children, index);
    removeFrom(children, index);
    // Compared without a sign, so that a negative cursor counts as past every child.
    const auto cursor = static_cast<std::uint32_t>(currentChildIndex);
    if (cursor >= index) {
        currentChildIndex = static_cast<std::int32_t>(cursor - 1);
    }
}

void Node::removeAll() {
    doMemClear4Child();
    currentChildIndex = 0;
}

unsigned int Node::getAttributeCount() {
    return countOf(attributes);
}

void Node::appendAttribute(Node* attribute) {
    attributes.emplace_back(attribute);
}

void Node::insertAttribute(Node* attribute, unsigned int index) {
    checkIndex(attributes, index);
    insertInto(attributes, attribute, index);
}

Node* Node::attributeAt(unsigned int index) {
    checkIndex(attributes, index);
    return attributes[index].get();
}

void Node::removeAttribute(unsigned int index) {
    checkIndex(attributes, index);
    removeFrom(attributes, index);
}

void Node::removeAllAttributes() {
    doMemClear4Attr();
}

void Node::setValue(const WideChar* text, unsigned int length) {
    value.set(text, length);
}

const WideChar* Node::getValue() const {
    return value.text;
}

bool Node::moveToFirst() {
    currentChildIndex = 0;
    return true;
}

bool Node::moveToNext() {
    if (currentChildIndex >= static_cast<long>(children.size()) - 1) {
        return false;
    }
    currentChildIndex = static_cast<std::int32_t>(static_cast<std::uint32_t>(currentChildIndex) + 1);
    return true;
}

Node* Node::getChild() {
    if (currentChildIndex > static_cast<long>(children.size()) - 1) {
        return nullptr;
    }
    return children.at(static_cast<std::size_t>(currentChildIndex)).get();
}

long Node::getCurrentChildIndex() {
    return currentChildIndex;
}

void Node::doMemClear4Child() {
    clear(children);
}

void Node::doMemClear4Attr() {
    clear(attributes);
}

const WideChar* Node::getClassName() const {
    return u"moraine::xml::DOM::Node";
}

void Node::checkIndex(const List& list, unsigned int index, long line) const {
    if (index >= list.size()) {
        const auto shown = static_cast<long>(static_cast<std::int32_t>(index));
        lang::raise<lang::ArrayIndexOutBoundsException>(
            getClassName(), lang::message(u"0 <= index < ", countOf(list), u" : ", shown), line);
    }
}

}  // namespace moraine::xml::DOM
