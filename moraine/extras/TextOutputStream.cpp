#include "moraine/extras/TextOutputStream.h"

#include <utility>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Utf8Bytes.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/io/IOException.h"

namespace moraine::extras {
namespace {

constexpr char32_t replacement = 0xfffd;
constexpr unsigned int halfLength = 3;

/// As `sequenceAt`, but half a pair, in three bytes, is a sequence too.
Sequence unitAt(const char* at, const char* end) {
    Sequence sequence = sequenceAt(at, end);
    if (sequence.state == Sequence::malformed && *at == '\xed') {
        const auto byte = [at](unsigned int i) { return static_cast<unsigned char>(at[i]); };
        if (end - at >= 2 && byte(1) >= 0xa0 && byte(1) <= 0xbf) {
            if (end - at < halfLength) {
                sequence = {Sequence::unfinished, 2, 0};
            } else if ((byte(2) & 0xc0U) == 0x80) {
                sequence = {Sequence::good, halfLength, 0xd000 | (byte(1) & 0x3fU) << 6 | (byte(2) & 0x3fU)};
            }
        }
    }
    return sequence;
}

/// As `unitAt`, with both halves of a pair for one character, and one alone for malformed.
Sequence characterAt(const char* at, const char* end) {
    Sequence first = unitAt(at, end);
    if (first.state != Sequence::good || !isSurrogate(first.character)) {
        return first;
    }
    if (isHighSurrogate(first.character)) {
        const char* const after = at + first.length;
        if (after == end) {
            return {Sequence::unfinished, first.length, 0};
        }
        const Sequence second = unitAt(after, end);
        if (second.state == Sequence::good && isLowSurrogate(second.character)) {
            return {Sequence::good, 2 * halfLength, joined(first.character, second.character)};
        }
        const bool mayBeLow = *after == '\xed' && (end - after < 2 || static_cast<unsigned char>(after[1]) >= 0xb0);
        if (second.state == Sequence::unfinished && mayBeLow) {
            return {Sequence::unfinished, first.length, 0};
        }
    }
    return {Sequence::malformed, first.length, 0};
}

}  // namespace

TextOutputStream::TextOutputStream(io::OutputStream& stream, Malformed malformed)
    : target(&stream), choice(malformed) {}

TextOutputStream::~TextOutputStream() = default;

unsigned int TextOutputStream::write(const char* data, unsigned int length) {
    if (target == nullptr) {
        raise<io::IOException>(getClassName(), u"The stream is closed.");
    }
    if (held.empty()) {
        convert(data, data + length, false);
    } else {
        const std::string bytes = std::exchange(held, {}).append(data, length);
        convert(bytes.data(), bytes.data() + bytes.size(), false);
    }
    return length;
}

void TextOutputStream::flush() {
    if (target != nullptr) {
        target->flush();
    }
}

void TextOutputStream::close() {
    if (target == nullptr) {
        return;
    }
    io::OutputStream* const closing = target;
    const std::string rest = std::exchange(held, {});
    try {
        convert(rest.data(), rest.data() + rest.size(), true);
    } catch (...) {
        target = nullptr;
        closing->close();
        throw;
    }
    target = nullptr;
    closing->close();
}

const WideChar* TextOutputStream::getClassName() const {
    return u"moraine::extras::TextOutputStream";
}

/// Converts the next bytes of the text and writes them, but for an unfinished character at their end, which is held.
void TextOutputStream::convert(const char* begin, const char* end, bool last) {
    const char* at = begin;
    bool refused = broken;
    room.clear();
    while (at != end && !refused) {
        const char* const plain = findNotAscii(at, end);
        room.append(at, plain);
        at = plain;
        if (at == end) {
            break;
        }
        const Sequence sequence = characterAt(at, end);
        if (sequence.state == Sequence::unfinished && !last) {
            held.assign(at, end);
            break;
        }
        if (sequence.state == Sequence::good) {
            appendUtf8(room, sequence.character);
        } else if (choice == Malformed::refuse) {
            refused = true;
            break;
        } else {
            appendUtf8(room, replacement);
        }
        at += sequence.length;
    }
    offset += static_cast<unsigned long long>(at - begin);
    send();
    if (refused) {
        broken = true;
        raise<io::DataFormatException>(getClassName(), words(u"Malformed UTF-8. : offset ", offset));
    }
}

void TextOutputStream::send() {
    const char* at = room.data();
    for (auto left = room.size(); left > 0;) {
        const auto most = static_cast<unsigned int>(left < 0x40000000 ? left : 0x40000000);
        const unsigned int count = target->write(at, most);
        if (count == 0 || count > most) {
            raise<io::IOException>(getClassName(), u"The stream could not be written.");
        }
        at += count;
        left -= count;
    }
}

}  // namespace moraine::extras
