#pragma once

#include <malloc.h>

#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "bench.h"

// Reading XML: every name, value, attribute, text and comment is asked for, and its length.

namespace bench {

/// A document, which is read from memory where it has no path, and from that file otherwise.
struct Document {
    std::string bytes;
    std::string path;
};

/// Of an attribute a name and a value; an end tag may come without its name.
enum class Piece { start, name, value, end, text, comment };

/// Takes the pieces of a document: counts them exactly, for the comparison, or looks at the length and both ends of
/// each, while time runs.
class Pieces {
public:
    explicit Pieces(bool exactly) : exact(exactly) {}
    ~Pieces() { asm volatile("" : : "m"(seen) : "memory"); }

    template <class View>
    void operator()(Piece kind, View text) {
        if (exact) {
            return count(kind, text);
        }
        seen += text.empty() ? 1 : text.size() + static_cast<std::size_t>(text.front() ^ text.back());
    }
    /// A text with its zero at the end.
    void operator()(Piece kind, const char* text) { (*this)(kind, std::string_view(text)); }

    long counts[12] = {};

private:
    /// Counts characters, whatever the encoding, without white-space where readers treat it differently; and pieces,
    /// but for texts, which some give in parts.
    template <class View>
    [[gnu::noinline]] void count(Piece kind, View text) {
        long* const place = &counts[2 * static_cast<std::size_t>(kind)];
        place[0] += kind == Piece::text ? 0 : 1;
        for (auto unit = text.begin(); unit != text.end() && kind != Piece::end; ++unit) {
            const auto code = static_cast<std::make_unsigned_t<typename View::value_type>>(*unit);
            const bool continues = sizeof code == 1 ? (code & 0xC0) == 0x80 : (code & 0xFC00) == 0xDC00;
            const bool white = code == ' ' || (code >= '\t' && code <= '\r');
            place[1] += continues || (white && kind >= Piece::text) ? 0 : 1;
        }
    }

    const bool exact;
    std::size_t seen = 0;
};

/// For callbacks, which know their `Pieces` as something.
inline void give(void* pieces, Piece kind, std::string_view text) {
    (*static_cast<Pieces*>(pieces))(kind, text);
}

/// Adds `Parser`, made with a document, as a way to read it: `prepare()`, untimed, and `read(pieces)`, which throws if
/// the document is refused. What is in memory is read with the memory at hand that earlier reads took, and a file as by
/// a program that reads one document: what memory it takes comes from the system.
template <class Parser>
struct Reader : Way<Document> {
    explicit Reader(const char* library)
        : Way("reader", library, [](const Document& document) {
              const auto parser = std::make_shared<Parser>(document);
              const auto read = [=](Sink& sink) {
                  Pieces pieces(sink.keeps);
                  parser->read(pieces);
                  sink(pieces.counts, sizeof pieces.counts);
              };
              if (document.path.empty()) {
                  mallopt(M_MMAP_MAX, 0);
                  mallopt(M_TRIM_THRESHOLD, 1 << 30);
                  return Column{read, [=] { parser->prepare(); }};
              }
              return Column{read, [=] { parser->prepare(), malloc_trim(0); }};
          }) {}
};

/// What a parser has of its document.
class Parser {
public:
    explicit Parser(const Document& toRead) : document(toRead) {}
    void prepare() {}

protected:
    bool inMemory() const { return document.path.empty(); }

    static void require(bool good) { good ? void() : throw std::runtime_error("the document is refused"); }

    /// Gives the document to `feed(bytes, size, last)` by blocks; from memory they are as long as is told.
    template <class Feed>
    void feedAll(std::size_t longest, Feed feed) {
        const std::string& all = document.bytes;
        if (inMemory()) {
            for (std::size_t at = 0; at < all.size(); at += longest) {
                const std::size_t size = std::min(longest, all.size() - at);
                feed(all.data() + at, size, at + size == all.size());
            }
            return;
        }
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(document.path.c_str(), "rb"),
                                                                   std::fclose);
        char block[10240];
        for (std::size_t size = sizeof block; size == sizeof block;) {
            size = std::fread(block, 1, sizeof block, file.get());
            feed(block, size, size < sizeof block);
        }
    }

    const Document& document;
};

}  // namespace bench
