#include <functional>
#include <memory>
#include <stdexcept>

#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/DOM/Comment.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/DOM/Document.h"
#include "moraine/xml/DOM/Element.h"
#include "moraine/xml/DOM/Text.h"
#include "moraine/xml/XMLStringUtil.h"

#include "input.h"

namespace moraine::fuzz {
namespace {

using namespace xml::DOM;

/// What a node is to be. Absent texts are null.
struct Model {
    using List = std::vector<std::unique_ptr<Model>>;

    List lists[2];  // children and attributes
    std::optional<WideString> name, value;
    std::uint32_t cursor = 0;
};

/// The operations on one of the two lists.
struct Operations {
    unsigned int (Node::*count)();
    void (Node::*append)(Node*);
    void (Node::*insert)(Node*, unsigned int);
    Node* (Node::*at)(unsigned int);
    void (Node::*remove)(unsigned int);
    void (Node::*removeAll)();
};

const Operations operations[] = {{&Node::getChildCount, &Node::appendChild, &Node::insertChild, &Node::childAt,
                                  &Node::removeChild, &Node::removeAll},
                                 {&Node::getAttributeCount, &Node::appendAttribute, &Node::insertAttribute,
                                  &Node::attributeAt, &Node::removeAttribute, &Node::removeAllAttributes}};

template <class Kind>
std::unique_ptr<Node> make() {
    return std::make_unique<Kind>();
}

std::unique_ptr<Node> (*const makers[])() = {make<Document>, make<Declaration>, make<Element>,
                                             make<Attr>,     make<Comment>,     make<Text>};

bool isText(const WideChar* text, const std::optional<WideString>& wanted) {
    return wanted ? text != nullptr && *wanted == text : text == nullptr;
}

void compare(Node& node, const Model& model, bool deep = false) {
    require(isText(node.getLocalName(), model.name) && isText(node.getValue(), model.value), "name and value");
    require(static_cast<std::uint32_t>(node.getCurrentChildIndex()) == model.cursor, "the cursor");
    const auto place = static_cast<std::int32_t>(model.cursor);
    const auto child = resultOf<std::out_of_range>([&] { return node.getChild(); });
    require(child.has_value() == (place >= 0), "a negative cursor is no place");
    const bool isNull = model.cursor >= model.lists[0].size() || model.lists[0][model.cursor] == nullptr;
    require(place < 0 || (*child == nullptr) == isNull, "the child under the cursor");
    for (int list = 0; list < 2; ++list) {
        const auto& entries = model.lists[list];
        require((node.*operations[list].count)() == entries.size(), "the length of a list");
        for (unsigned int i = 0; deep && i < entries.size(); ++i) {
            Node* const entry = (node.*operations[list].at)(i);
            require((entry == nullptr) == (entries[i] == nullptr), "entries");
            entry != nullptr ? compare(*entry, *entries[i], true) : void();
        }
    }
}

void change(Node& node, Model& model, Input& input) {
    const unsigned int list = input.below(2), operation = input.below(8), kind = input.below(8);
    Model::List& entries = model.lists[list];
    const Operations& calls = operations[list];
    const unsigned int index = input.below(static_cast<unsigned int>(entries.size()) + 2);
    bool isMoved = false;
    const bool isThere = index < entries.size();
    const auto place = isThere ? entries.begin() + index : entries.end();
    std::unique_ptr<Node> fresh = kind < 6 ? makers[kind]() : nullptr;  // a list may hold that
    auto entry = fresh != nullptr ? std::make_unique<Model>() : nullptr;
    const WideString text = operation == 7 ? input.text(40) : u"";
    const auto length = static_cast<unsigned int>(text.size());
    const auto set = kind % 2 == 0 ? &Node::setLocalName : &Node::setValue;
    const std::function<void()> actions[] = {[&] { (node.*calls.append)(fresh.get()); },
                                             [&] { (node.*calls.insert)(fresh.get(), index); },
                                             [&] { (node.*calls.remove)(index); },
                                             [&] { (node.*calls.at)(index); },
                                             [&] { kind == 0 ? (node.*calls.removeAll)() : void(); },
                                             [&] { node.moveToFirst(); },
                                             [&] { isMoved = node.moveToNext(); },
                                             [&] { (node.*set)(exact(text).data(), length); }};
    const auto done = resultOf<lang::ArrayIndexOutBoundsException>([&] { return actions[operation](), true; });
    require(done.has_value() == (isThere || operation < 1 || operation > 3), "an index is below the count");
    if (operation == 0 || (operation == 1 && isThere)) {
        entries.insert(operation == 0 ? entries.end() : place, std::move(entry));
        fresh.release();  // NOLINT(bugprone-unused-return-value): the list has it
    } else if (operation == 2 && isThere) {
        entries.erase(place);
        model.cursor -= list == 0 && model.cursor >= index ? 1 : 0;
    } else if (operation == 4 && kind == 0) {
        entries.clear();
        model.cursor = list == 0 ? 0 : model.cursor;
    } else if (operation == 5) {
        model.cursor = 0;
    } else if (operation == 6) {
        require(isMoved == (static_cast<std::int32_t>(model.cursor) + 1 < static_cast<long>(model.lists[0].size())),
                "whether there is a next child");
        model.cursor += isMoved ? 1 : 0;
    } else if (operation == 7) {
        const auto resolved = xml::XMLStringUtil().reference2String(text.data(), length);
        auto& wanted = kind % 2 == 0 ? model.name : model.value;
        wanted = text.empty() ? std::nullopt : std::optional<WideString>(resolved->c_str());
    }
}

}  // namespace

/// A program of operations on the nodes of a tree, beside a tree of models.
void check(Input input) {
    const std::unique_ptr<Node> root = makers[input.below(6)]();
    Model model;
    Node* node = root.get();
    Model* beside = &model;
    while (!input.isEmpty()) {
        const unsigned int list = input.below(2), index = input.below(16);
        if (index < beside->lists[list].size() && beside->lists[list][index] != nullptr) {
            node = (node->*operations[list].at)(index);
            beside = beside->lists[list][index].get();
        } else if (index == 15) {
            compare(*root, model, true);
            node = root.get();
            beside = &model;
        }
        change(*node, *beside, input);
        compare(*node, *beside);
        node->getString() && node->getReferenceString();
    }
    compare(*root, model, true);
}

}  // namespace moraine::fuzz
