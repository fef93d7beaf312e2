#pragma once

#include <cstddef>
#include <string_view>

#include "moraine/extras/internal/XmlText.h"

namespace moraine::extras {

/// A tag or reference that is not complete at hand is waited for only if nothing else can be handed out. So much of it
/// is looked at.
constexpr std::size_t lookAhead = 256;

/// The first byte that is no white-space.
const char* findSolid(const char* at, const char* end);

/// The value of a digit; negative if it is none.
int digitOf(char c, bool hex);

bool equalIgnoringCase(std::string_view left, std::string_view right);

/// A name as it stands in messages.
WideString quoted(std::string_view name);

/// Walks over the text of a document, and says where it is wrong.
class XmlScanner {
public:
    XmlScanner(io::InputStream& source, const WideChar* name) : in(source, name), failing(name) {}

    /// The byte so far after the next one, or 0 at the end.
    char byteAt(std::size_t offset) { return in.have(offset + 1) ? in.begin()[offset] : '\0'; }

    /// The next byte, which must be there.
    char peek(const WideChar* sentence) {
        if (in.empty() && !in.more()) {
            failAtEnd(sentence);
        }
        return *in.begin();
    }

    /// The length of the name that begins so far after the next byte; 0 if there is none. All of it is at hand then.
    std::size_t nameLength(std::size_t offset);

    /// Passes over white-space; whether there was any.
    bool passWhite();

    void expect(std::string_view literal, const WideChar* sentence);

    /// Passes over all up to the next such byte, and over that.
    void passTo(char wanted, const WideChar* notClosed);

    void passInstruction();

    /// Fails for what is next.
    [[noreturn]] void fail(const WideString& sentence, long line = __builtin_LINE()) {
        fail(sentence, in.place(), line);
    }
    [[noreturn]] void fail(const WideString& sentence, const Place& place, long line = __builtin_LINE());

    /// Fails because there is no more, or for what is wrong there.
    [[noreturn]] void failAtEnd(const WideString& sentence, long line = __builtin_LINE());

    /// Fails, and if the data end so far after the next byte, for that.
    [[noreturn]] void refuse(std::size_t offset, const WideChar* sentence);

    XmlText in;
    const WideChar* const failing;  // the name of the class
};

/// The message of a failure at a place.
WideString located(const WideString& sentence, const Place& place);

}  // namespace moraine::extras
