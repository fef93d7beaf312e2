#include "moraine/xml/DOM/Text.h"

#include "moraine/xml/internal/TextForms.h"

namespace moraine::xml::DOM {
namespace {

OwnedWideString formOf(const Text& node, AppendText append) {
    auto form = std::make_unique<WideString>();
    append(*form, text::view(node.getValue()));
    return form;
}

}  // namespace

Text::Text() = default;

Text::~Text() = default;

int Text::getNodeType() {
    return textNode;
}

OwnedWideString Text::getString() {
    return formOf(*this, appendLiteral);
}

OwnedWideString Text::getReferenceString() {
    return formOf(*this, appendEscaped);
}

const WideChar* Text::getClassName() const {
    return u"moraine::xml::DOM::Text";
}

}  // namespace moraine::xml::DOM
