#include "moraine/xml/DOM/Comment.h"

#include "moraine/xml/internal/TextForms.h"

namespace moraine::xml::DOM {
namespace {

OwnedWideString formOf(const Comment& node, AppendText append) {
    auto form = std::make_unique<WideString>();
    appendComment(*form, text::view(node.getValue()), append);
    return form;
}

}  // namespace

Comment::Comment() = default;

Comment::~Comment() = default;

int Comment::getNodeType() {
    return commentNode;
}

OwnedWideString Comment::getString() {
    return formOf(*this, appendLiteral);
}

OwnedWideString Comment::getReferenceString() {
    return formOf(*this, appendEscaped);
}

const WideChar* Comment::getClassName() const {
    return u"moraine::xml::DOM::Comment";
}

}  // namespace moraine::xml::DOM
