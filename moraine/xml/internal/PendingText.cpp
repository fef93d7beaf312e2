#include "moraine/xml/internal/PendingText.h"

#include <algorithm>
#include <cstring>
#include <typeinfo>

#include "moraine/io/IOException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/DecodeInto.h"

namespace moraine::xml {

PendingText::PendingText(io::InputStream* source) : stream(source) {}

unsigned int PendingText::readBytes(const WideChar* className) {
    asking = true;
    const unsigned int count = stream->read(byteBuffer, blockSize);
    if (count > blockSize) {
        lang::raise<io::IOException>(className, u"The stream could not be read.");
    }
    asking = false;
    return count;
}

void PendingText::decodeBy(std::unique_ptr<text::IDecoder> newDecoder) {
    decoder = std::move(newDecoder);
    utf8 = dynamic_cast<text::UTF8Decoder*>(decoder.get());
}

bool PendingText::readBlock(const WideChar* className) {
    const unsigned int count = readBytes(className);
    if (utf8 != nullptr) {
        makeRoom(text::mostUnits(count));
        const std::size_t made = text::decodeInto(*utf8, byteBuffer, count, count == 0, buffer.get() + end);
        added(made);
        return made > 0;
    }
    const OwnedWideString block = decoder->doDecodeM2W(byteBuffer, count, count == 0);
    append(*block);
    return !block->empty();
}

void PendingText::append(const WideString& units) {
    makeRoom(units.size());
    std::copy(units.begin(), units.end(), buffer.get() + end);
    added(units.size());
}

/// Makes room for so many units after the pending ones. The piece and the pending units stay, and what lies
/// before or between them goes.
void PendingText::makeRoom(std::size_t count) {
    if (capacity - end >= count) {
        return;
    }
    const std::size_t kept = pieceEnd - pieceBegin;
    const std::size_t pending = end - start;
    const std::size_t needed = kept + pending + count;
    std::unique_ptr<WideChar[]> room;
    if (needed > capacity) {
        // The buffer doubles, so that the cost of a long token stays in proportion to its length.
        const std::size_t roomy =
            (std::max<std::size_t>({needed, capacity * 2, blockSize}) + markedUnits - 1) / markedUnits * markedUnits;
        room.reset(new WideChar[roomy]);
        marks.reset(new Marks[roomy / markedUnits]);  // NOLINT(modernize-make-unique): which would fill them
        capacity = roomy;
    }
    WideChar* const target = room ? room.get() : buffer.get();
    if (kept > 0 && target != piece()) {
        std::memmove(target, piece(), kept * sizeof(WideChar));
    }
    if (pending > 0 && target + kept != units()) {
        std::memmove(target + kept, units(), pending * sizeof(WideChar));
    }
    if (room) {
        buffer = std::move(room);
    }
    pieceBegin = 0;
    pieceEnd = kept;
    start = kept;
    end = start;
    added(pending);
}

/// Marks so many units that have been put after the pending ones, which they then belong to.
void PendingText::added(std::size_t count) noexcept {
    if (count == 0) {
        return;
    }
    const std::size_t first = end / markedUnits;
    end += count;
    const std::size_t last = (end - 1) / markedUnits;
    marks::markAll(buffer.get() + first * markedUnits, last - first + 1, marks.get() + first);
    marks[last].keep(end - last * markedUnits);
}

}  // namespace moraine::xml
