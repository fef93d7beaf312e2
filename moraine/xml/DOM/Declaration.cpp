#include "moraine/xml/DOM/Declaration.h"

#include "moraine/text/StringUtil.h"

namespace moraine::xml::DOM {
namespace {

constexpr const WideChar* defaultVersion = u"1.0";
constexpr const WideChar* defaultEncoding = u"utf-8";

WideString lowered(const WideChar* text) {
    return std::move(*text::StringUtil().toLowerW(text, static_cast<unsigned int>(text::lengthOf(text))));
}

bool isYes(const WideChar* text) {
    return lowered(text) == u"yes";
}

enum class Field { version, encoding, standalone, none };

/// The field that an attribute belongs to by its name.
Field fieldOf(const Node* attribute) {
    if (attribute == nullptr) {
        return Field::none;
    }
    const WideString name = lowered(attribute->getLocalName());
    return name == u"version"      ? Field::version
           : name == u"encoding"   ? Field::encoding
           : name == u"standalone" ? Field::standalone
                                   : Field::none;
}

}  // namespace

Declaration::Declaration() : version(text::copyOf(defaultVersion)), encoding(text::copyOf(defaultEncoding)) {}

Declaration::~Declaration() = default;

void Declaration::setVersion(const WideChar* text) {
    version = text::copyOf(text);
}

const WideChar* Declaration::getVersion() const {
    return version.get();
}

void Declaration::setEncoding(const WideChar* text) {
    encoding = text::copyOf(text);
}

const WideChar* Declaration::getEncoding() const {
    return encoding.get();
}

void Declaration::setStandalone(const WideChar* text) {
    standalone = isYes(text);
}

bool Declaration::getStandalone() {
    return standalone;
}

int Declaration::getNodeType() {
    return declarationNode;
}

OwnedWideString Declaration::getString() {
    auto form = std::make_unique<WideString>(u"<?xml");
    form->append(u" version=\"").append(version.get()).append(u"\"");
    form->append(u" encoding=\"").append(encoding.get()).append(u"\"");
    form->append(u" standalone=\"").append(standalone ? u"yes" : u"no").append(u"\"");
    form->append(u"?>");
    return form;
}

OwnedWideString Declaration::getReferenceString() {
    return getString();
}

// What an attribute sets is made before the list takes the attribute over, so that a failure leaves it to the caller.
void Declaration::appendAttribute(Node* attribute) {
    Change change = changeBy(attribute);
    Node::appendAttribute(attribute);
    addAttrProc(std::move(change));
}

void Declaration::insertAttribute(Node* attribute, unsigned int index) {
    Change change = changeBy(attribute);
    Node::insertAttribute(attribute, index);
    addAttrProc(std::move(change));
}

void Declaration::removeAttribute(unsigned int index) {
    switch (fieldOf(attributeAt(index))) {
        case Field::version:
            setVersion(defaultVersion);
            break;
        case Field::encoding:
            setEncoding(defaultEncoding);
            break;
        case Field::standalone:
            standalone = true;
            break;
        case Field::none:
            break;
    }
    Node::removeAttribute(index);
}

void Declaration::removeAllAttributes() {
    Change defaults{text::copyOf(defaultVersion), text::copyOf(defaultEncoding), true};
    Node::removeAllAttributes();
    addAttrProc(std::move(defaults));
}

const WideChar* Declaration::getClassName() const {
    return u"moraine::xml::DOM::Declaration";
}

Declaration::Change Declaration::changeBy(const Node* attribute) const {
    Change change{nullptr, nullptr, standalone};
    switch (fieldOf(attribute)) {
        case Field::version:
            change.version = text::copyOf(attribute->getValue());
            break;
        case Field::encoding:
            change.encoding = text::copyOf(attribute->getValue());
            break;
        case Field::standalone:
            change.standalone = isYes(attribute->getValue());
            break;
        case Field::none:
            break;
    }
    return change;
}

void Declaration::addAttrProc(Change change) noexcept {
    if (change.version) {
        version = std::move(change.version);
    }
    if (change.encoding) {
        encoding = std::move(change.encoding);
    }
    standalone = change.standalone;
}

}  // namespace moraine::xml::DOM
