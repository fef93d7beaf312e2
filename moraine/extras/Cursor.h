#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "moraine/extras/Export.h"
#include "moraine/io/InputStream.h"
#include "moraine/text/WideChar.h"
#include "moraine/xml/DOM/XMLReader.h"

namespace moraine::extras {

/// Walks through an XML document, forward only, with texts that are never null.
///
///     moraine::io::FileInputStream file(u"track.gpx");
///     moraine::extras::Cursor cursor(file);
///     while (cursor.nextStart(u"trkpt")) {
///         use(cursor.attribute(u"lat"), cursor.attribute(u"lon"));
///     }
///
/// The pieces are start tags, end tags, texts and comments; document and declaration are passed over. Each start has
/// its end: an empty tag, `<a/>`, is a start followed by an end, just as `<a></a>` is.
///
/// Texts are views of what the reader holds: good until the cursor moves, zero-terminated (`data()` may go where the
/// library takes a text), empty where there is none, and never null.
///
/// A cursor is used by one thread at a time and is not copyable.
class MORAINE_EXTRAS_API Cursor {
public:
    /// A cursor before the first piece of any XML 1.0 document, read through an `XmlInputStream` of its own.
    /// @p source is borrowed and neither closed nor destroyed.
    /// @throws std::bad_alloc if there is no room
    explicit Cursor(io::InputStream& source);

    /// A cursor after the piece at which @p reader stands, which is borrowed and must not be moved by others. Elements
    /// that are open there are not known: depth counts from here.
    /// @throws std::bad_alloc if there is no room
    explicit Cursor(xml::DOM::XMLReader& reader);

    Cursor(const Cursor& other) = delete;
    ~Cursor();
    Cursor& operator=(const Cursor& other) = delete;

    /// Moves to the next piece. False at the end of the document, where the cursor stands at nothing.
    ///
    /// This and all other movements throw what `XMLReader::doRead` throws, and what the stream does.
    bool next();

    /// Moves to the next start tag, of any name or of @p name alone. False if there is none up to the end of the
    /// document.
    bool nextStart();
    /// As `nextStart()`.
    bool nextStart(std::u16string_view name);

    /// Moves to the next piece inside of the element whose start has the depth @p depth. False at the end of that
    /// element, where the cursor then stands, and at the end of the document.
    ///
    ///     for (const auto depth = cursor.depth(); cursor.nextWithin(depth);) ...
    bool nextWithin(std::size_t depth);

    /// From a start tag, moves to the end of that element. At any other piece it does nothing.
    void skipElement();

    /// From a start tag, moves to the end of that element and gives all text in it, that of elements inside
    /// included, in one piece. At a text, its value; at any other piece, an empty text.
    WideString text();

    /// Whether the cursor stands at a start tag.
    bool isStart() const;
    /// Whether the cursor stands at a start tag of that name.
    bool isStart(std::u16string_view name) const;
    /// Whether the cursor stands at an end.
    bool isEnd() const;
    /// Whether the cursor stands at an end of that name.
    bool isEnd(std::u16string_view name) const;
    /// Whether the cursor stands at a text.
    bool isText() const;
    /// Whether the cursor stands at a comment.
    bool isComment() const;
    /// Whether the cursor stands at the start or the end of an element that was written as an empty tag.
    bool isEmpty() const;

    /// The number of elements that the piece lies in: 0 for the root's own start and end, 1 for what is directly in it.
    std::size_t depth() const;

    /// The name of the element at a start or an end; empty elsewhere.
    std::u16string_view name() const;

    /// The content of a text or comment; empty elsewhere.
    std::u16string_view value() const;

    /// The number of attributes of a start; 0 elsewhere.
    unsigned int attributeCount() const;

    /// The name of the attribute at @p index, from 0.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below `attributeCount()`
    std::u16string_view attributeName(unsigned int index) const;

    /// The value of the attribute at @p index, from 0.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below `attributeCount()`
    std::u16string_view attributeValue(unsigned int index) const;

    /// The value of the attribute of that name; @p fallback if there is none.
    std::u16string_view attribute(std::u16string_view name, std::u16string_view fallback = u"") const;

    /// The value of the attribute of that name, if there is one.
    std::optional<std::u16string_view> findAttribute(std::u16string_view name) const;

    /// Whether there is an attribute of that name.
    bool hasAttribute(std::u16string_view name) const;

private:
    class MORAINE_HIDDEN Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace moraine::extras
