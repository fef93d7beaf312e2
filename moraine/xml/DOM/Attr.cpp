#include "moraine/xml/DOM/Attr.h"

#include "moraine/xml/internal/TextForms.h"

namespace moraine::xml::DOM {
namespace {

OwnedWideString formOf(const Attr& node, AppendText append) {
    auto form = std::make_unique<WideString>();
    appendAttribute(*form, text::view(node.getLocalName()), text::view(node.getValue()), append);
    return form;
}

}  // namespace

Attr::Attr() = default;

Attr::~Attr() = default;

int Attr::getNodeType() {
    return attrNode;
}

OwnedWideString Attr::getString() {
    return formOf(*this, appendLiteral);
}

OwnedWideString Attr::getReferenceString() {
    return formOf(*this, appendEscaped);
}

const WideChar* Attr::getClassName() const {
    return u"moraine::xml::DOM::Attr";
}

}  // namespace moraine::xml::DOM
