#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/PieceStream.h"
#include "moraine/extras/internal/XmlScanner.h"
#include "moraine/extras/internal/XmlUnchanged.h"
#include "moraine/extras/XmlInputStream.h"

namespace moraine::extras {

/// Walks through the document and writes it anew. Each step handles one construct, or as much of a text, comment or
/// CDATA section as is at hand.
class XmlPieces : public PieceStream, private XmlScanner {
public:
    XmlPieces(io::InputStream& source, WhiteSpace what);

    Place where() const override { return in.place(); }

protected:
    void produce() override;

    void closeSource() override { in.close(); }

private:
    enum class State { start, content, comment, cdata };

    /// A text in `out`.
    struct Range {
        std::size_t begin;
        std::size_t length;
    };

    /// False if the source must be waited for, and something can be handed out before.
    bool step();
    bool readContent();

    bool waits() const { return !in.hasMoreAtHand() && out.whole(out.ready(), true) > 0; }

    void finish();

    /// Copies the tags and texts at hand that can stay as they are, in one piece. False if the first one cannot.
    bool copyUnchanged();

    // Text

    bool readText();

    /// How many "]" stand before @p at, or at least 2, in a text of which the part at hand begins at @p from.
    std::size_t bracketsBefore(const char* from, const char* at) const;

    /// Writes the white-space that turns out to be the start of a text, the first of it as a reference: the reader
    /// drops it otherwise.
    void beginText();
    void endText();
    bool readCdata();
    bool readComment();

    /// Gets more of what must go on. False if that must wait.
    bool goOn(const WideChar* notClosed);

    // References

    bool readReferenceInText();
    void readReferenceInValue();

    /// Reads the reference that begins here. @p put writes the character of a numeric one.
    template <class Put>
    void readReference(Put put) {
        constexpr const WideChar* bad = u"'&' begins no reference.";
        if (in.have(2) && in.begin()[1] == '#') {
            put(readNumber());
            return;
        }
        const std::size_t length = nameLength(1);
        if (length == 0 || !in.have(length + 2) || in.begin()[length + 1] != ';') {
            refuse(length + 1, bad);
        }
        if (predefinedLength({in.begin(), length + 2}) == 0) {
            fail(words(u"Undeclared entity ", quoted({in.begin() + 1, length}), u"."));
        }
        out.put({in.begin(), length + 2});
        in.consume(length + 2);
    }

    char32_t readNumber();
    void putWhite(char white);

    /// Writes a character of text that need not be a reference, unless it is one of these three.
    void putCharacter(char32_t character);

    // Markup

    bool readMarkup();
    void readOther();
    void readStartTag();

    /// Whether its value is empty.
    bool readAttribute();
    void readValue(char quote);
    void refuseRepeated();
    void readEndTag();

    /// The name is another one, or none.
    [[noreturn]] void refuseEndTag();

    /// Copies what is at hand from @p at on, up to where a word stops it; returns that place.
    template <class Stops>
    const char* copyOut(const char* at, const char* end, Stops stops) {
        const char* const stop = findStop(at, end, stops);
        out.put({at, static_cast<std::size_t>(stop - at)});
        return stop;
    }

    const bool keepsWhite;
    State state = State::start;
    bool hasRoot = false;
    bool hasType = false;
    OpenNames opened;
    std::vector<Range> attributes;  // of the tag that is being read
    bool textBegun = false;         // something of a text has been written
    std::string leading;            // the white-space before what may become a text
    std::size_t openBrackets = 0;   // how many "]" stand at the end of a text that has been passed
};

}  // namespace moraine::extras
