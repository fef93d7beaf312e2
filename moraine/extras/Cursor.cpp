#include "moraine/extras/Cursor.h"

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/XmlInputStream.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/xml/DOM/Node.h"

namespace moraine::extras {
namespace {

std::u16string_view viewOf(const WideChar* text) {
    return text == nullptr ? std::u16string_view(u"") : std::u16string_view(text, text::lengthOf(text));
}

}  // namespace

class Cursor::Impl {
public:
    enum class Kind { none, start, end, text, comment };

    explicit Impl(io::InputStream& source)
        : form(std::make_unique<XmlInputStream>(source)), own(std::make_unique<xml::DOM::XMLReader>(form.get())),
          reader(*own) {}
    explicit Impl(xml::DOM::XMLReader& borrowed) : reader(borrowed) {}

    bool next() {
        if (kind == Kind::start) {
            if (reader.isEmptyElement()) {
                kind = Kind::end;
                return true;
            }
            ++depth;
        }
        kind = Kind::none;
        do {
            if (!reader.doRead()) {
                return false;
            }
            kind = kindOfPiece();
        } while (kind == Kind::none);
        if (kind == Kind::end && depth > 0) {
            --depth;
        }
        return true;
    }

    std::u16string_view nameAt(unsigned int index) const { return viewOf(reader.getAttributeName(index)); }
    std::u16string_view valueAt(unsigned int index) const { return viewOf(reader.getAttributeValue(index)); }

    unsigned int attributeCount() const { return kind == Kind::start ? reader.getAttributeCount() : 0; }

    void check(unsigned int index) const {
        if (index >= attributeCount()) {
            raise<lang::ArrayIndexOutBoundsException>(
                u"moraine::extras::Cursor",
                words(static_cast<long long>(index), u" > ", static_cast<long long>(attributeCount())));
        }
    }

    std::unique_ptr<XmlInputStream> form;
    std::unique_ptr<xml::DOM::XMLReader> own;
    xml::DOM::XMLReader& reader;
    Kind kind = Kind::none;
    std::size_t depth = 0;

private:
    Kind kindOfPiece() const {
        switch (reader.getNodeType()) {
            case xml::DOM::elementNode:
                return reader.isStartElement() ? Kind::start : Kind::end;
            case xml::DOM::textNode:
                return Kind::text;
            case xml::DOM::commentNode:
                return Kind::comment;
            default:
                return Kind::none;
        }
    }
};

Cursor::Cursor(io::InputStream& source) : impl(std::make_unique<Impl>(source)) {}

Cursor::Cursor(xml::DOM::XMLReader& reader) : impl(std::make_unique<Impl>(reader)) {}

Cursor::~Cursor() = default;

bool Cursor::next() {
    return impl->next();
}

bool Cursor::nextStart() {
    while (impl->next()) {
        if (isStart()) {
            return true;
        }
    }
    return false;
}

bool Cursor::nextStart(std::u16string_view name) {
    while (nextStart()) {
        if (this->name() == name) {
            return true;
        }
    }
    return false;
}

bool Cursor::nextWithin(std::size_t depth) {
    const auto ended = [&] { return isEnd() && impl->depth <= depth; };
    return !ended() && impl->next() && !ended();
}

void Cursor::skipElement() {
    if (isStart()) {
        for (const std::size_t depth = impl->depth; nextWithin(depth);) {
        }
    }
}

WideString Cursor::text() {
    if (!isStart()) {
        return WideString(isText() ? value() : std::u16string_view());
    }
    WideString all;
    for (const std::size_t depth = impl->depth; nextWithin(depth);) {
        if (isText()) {
            all.append(value());
        }
    }
    return all;
}

bool Cursor::isStart() const {
    return impl->kind == Impl::Kind::start;
}

bool Cursor::isStart(std::u16string_view name) const {
    return isStart() && this->name() == name;
}

bool Cursor::isEnd() const {
    return impl->kind == Impl::Kind::end;
}

bool Cursor::isEnd(std::u16string_view name) const {
    return isEnd() && this->name() == name;
}

bool Cursor::isText() const {
    return impl->kind == Impl::Kind::text;
}

bool Cursor::isComment() const {
    return impl->kind == Impl::Kind::comment;
}

bool Cursor::isEmpty() const {
    return (isStart() || isEnd()) && impl->reader.isEmptyElement();
}

std::size_t Cursor::depth() const {
    return impl->depth;
}

std::u16string_view Cursor::name() const {
    return viewOf(isStart() || isEnd() ? impl->reader.getName() : nullptr);
}

std::u16string_view Cursor::value() const {
    return viewOf(isText() || isComment() ? impl->reader.getValue() : nullptr);
}

unsigned int Cursor::attributeCount() const {
    return impl->attributeCount();
}

std::u16string_view Cursor::attributeName(unsigned int index) const {
    impl->check(index);
    return impl->nameAt(index);
}

std::u16string_view Cursor::attributeValue(unsigned int index) const {
    impl->check(index);
    return impl->valueAt(index);
}

std::u16string_view Cursor::attribute(std::u16string_view name, std::u16string_view fallback) const {
    return findAttribute(name).value_or(fallback);
}

std::optional<std::u16string_view> Cursor::findAttribute(std::u16string_view name) const {
    for (unsigned int i = 0; i < impl->attributeCount(); ++i) {
        if (impl->nameAt(i) == name) {
            return impl->valueAt(i);
        }
    }
    return std::nullopt;
}

bool Cursor::hasAttribute(std::u16string_view name) const {
    return findAttribute(name).has_value();
}

}  // namespace moraine::extras
