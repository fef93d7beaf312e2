#include "moraine/extras/TextInputStream.h"

#include <algorithm>

#include "moraine/extras/internal/ByteSource.h"
#include "moraine/extras/internal/Conversion.h"
#include "moraine/extras/internal/PieceStream.h"
#include "moraine/io/DataFormatException.h"

namespace moraine::extras {
namespace {

/// One less than `PropertyManager` has room for: so long a piece fits whenever no line is begun.
constexpr std::size_t longestPiece = 10239;

/// So many bytes are converted in one go.
constexpr std::size_t slice = 8192;

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view declaration = "<?xml";
constexpr char32_t replacement = 0xfffd;

class TextPieces : public PieceStream {
public:
    TextPieces(io::InputStream& stream, Malformed what)
        : PieceStream(u"moraine::extras::TextInputStream", true), source(stream), malformed(what) {}

    Place where() const override { return out.placeOf(out.begin()); }

protected:
    std::size_t whole(std::size_t count) const override {
        count = std::min(count, longestPiece);
        const std::string_view text(out.begin(), count);
        if (!out.hasPast()) {
            // At the start of all: a declaration, or what may become one.
            const bool declares = text.substr(0, declaration.size()) == declaration.substr(0, count);
            if (declares && !ended && count < longestPiece && text.find("?>") == std::string_view::npos) {
                return 0;
            }
        } else if (out.begin()[-1] != '\n') {
            const std::size_t line = text.find('\n');
            if (line != std::string_view::npos) {
                return line + 1;
            }
        }
        const std::size_t ready = out.ready();
        if (count < ready) {
            const std::size_t line = text.rfind('\n');
            if (line != std::string_view::npos) {
                return line + 1;
            }
        }
        const bool returned = count > 0 && text[count - 1] == '\r';
        if (returned && (count < ready ? out.begin()[count] == '\n' : !ended)) {
            --count;
        }
        return out.whole(count, !ended);
    }

    void produce() override {
        if (source.size() == 0 || starved) {
            starved = false;
            source.read(className);
        }
        if (begun || passByteOrderMark()) {
            out.compact();
            convert();
            ended = source.atEnd() && source.size() == 0;
        }
    }

    void closeSource() override { source.close(); }

private:
    /// False if too little is there to tell.
    bool passByteOrderMark() {
        const std::string_view start(source.begin(), std::min(source.size(), byteOrderMark.size()));
        if (start.size() < byteOrderMark.size() && !source.atEnd() && start == byteOrderMark.substr(0, start.size())) {
            starved = true;
            return false;
        }
        begun = true;
        if (start == byteOrderMark) {
            source.consume(start.size());
        }
        return true;
    }

    void convert() {
        const char* const begin = source.begin();
        const char* const end = begin + std::min(source.size(), slice);
        constexpr auto odd = [](auto unit) { return unit.notAscii() | unit.is(0); };
        const Rules rules{
            odd, odd, [](char32_t character, char* to) { return character == 0 ? nullptr : putUnits(to, character); }};
        Converted at{begin, out.room(growth * static_cast<std::size_t>(end - begin)), Converted::done, 0, 0};
        for (bool go = true; go;) {
            at = convertUtf8(at.from, end, at.to, rules);
            go = at.reason == Converted::malformed || at.reason == Converted::illegal ||
                 (at.reason == Converted::unfinished && end == source.end() && source.atEnd());
            if (go) {
                if (malformed == Malformed::refuse) {
                    out.wrote(at.to);
                    refuse();
                    return;
                }
                at.to = putUtf8(at.to, replacement);
                at.from += at.length;
            }
        }
        out.wrote(at.to);
        starved = at.from == begin;  // the start of a character is all that is there
        source.consume(static_cast<std::size_t>(at.from - begin));
    }

    /// All before the fault is handed out first.
    void refuse() {
        const Place place = out.placeOf(out.end());
        try {
            raise<io::DataFormatException>(className,
                                           words(u"Malformed UTF-8. : line ", place.line, u", column ", place.column));
        } catch (const io::DataFormatException&) {
            fault = std::current_exception();
        }
    }

    ByteSource source;
    const Malformed malformed;
    bool begun = false;    // past the byte order mark
    bool starved = false;  // the bytes at hand are too few to go on
};

}  // namespace

TextInputStream::TextInputStream(io::InputStream& source, Malformed malformed)
    : ConvertingInputStream(std::make_unique<TextPieces>(source, malformed)) {}

TextInputStream::~TextInputStream() = default;

}  // namespace moraine::extras
