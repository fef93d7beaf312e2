#include "moraine/xml/DOM/Document.h"

namespace moraine::xml::DOM {

Document::Document() = default;

Document::~Document() = default;

int Document::getNodeType() {
    return documentNode;
}

OwnedWideString Document::getString() {
    return std::make_unique<WideString>();
}

OwnedWideString Document::getReferenceString() {
    return std::make_unique<WideString>();
}

const WideChar* Document::getClassName() const {
    return u"moraine::xml::DOM::Document";
}

}  // namespace moraine::xml::DOM
