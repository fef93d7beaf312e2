#include "moraine/xml/DOM/Element.h"

#include "moraine/xml/internal/TextForms.h"

namespace moraine::xml::DOM {

Element::Element() = default;

Element::~Element() = default;

int Element::getNodeType() {
    return elementNode;
}

OwnedWideString Element::getString() {
    return tag(&Node::getString);
}

OwnedWideString Element::getReferenceString() {
    return tag(&Node::getReferenceString);
}

void Element::setEmpty(bool isEmptyTag) {
    empty = isEmptyTag;
}

bool Element::isEmpty() {
    return empty;
}

void Element::setEnd(bool isEndTag) {
    end = isEndTag;
}

bool Element::isEnd() {
    return end;
}

const WideChar* Element::getClassName() const {
    return u"moraine::xml::DOM::Element";
}

OwnedWideString Element::tag(OwnedWideString (Node::*formOf)()) {
    auto form = std::make_unique<WideString>(end ? u"</" : u"<");
    appendLiteral(*form, text::view(getLocalName()));
    for (unsigned int i = 0; i < getAttributeCount(); ++i) {
        if (Node* const attribute = attributeAt(i)) {
            form->append(u" ").append(*(attribute->*formOf)());
        }
    }
    if (!end && getChildCount() == 0) {
        form->push_back(u'/');
    }
    form->push_back(u'>');
    return form;
}

}  // namespace moraine::xml::DOM
