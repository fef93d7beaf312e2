#include "moraine/util/log/ILogger.h"

#include <mutex>

#include "moraine/io/FileNotFoundException.h"
#include "moraine/io/internal/WithoutBuffer.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/IllegalStateException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/platform/LoggerMutex.h"
#include "moraine/text/internal/UnitCount.h"
#include "moraine/util/log/internal/Timestamp.h"

namespace moraine::util::log {

ILogger::ILogger() : mutex(std::make_unique<platform::LoggerMutex>()) {
    // A child that is forked between the writing of a line and its flushing would write it again from the buffer.
    io::withoutBuffer(stream);
}

ILogger::~ILogger() = default;

void ILogger::setOutputPath(const WideChar* path) {
    outputPath = text::copyOf(path);
}

const WideChar* ILogger::getOutputPath() {
    return outputPath.get();
}

void ILogger::write(const WideChar* message) {
    bool written = false;
    // The lock is free again before a failure gets its line.
    try {
        written = writeLocked(message);
    } catch (lang::IllegalArgumentException& e) {
        lang::passOn(e, getClassName());
    } catch (lang::IllegalStateException& e) {
        lang::passOn(e, getClassName());
    } catch (io::FileNotFoundException& e) {
        lang::passOn(e, getClassName());
    } catch (io::IOException& e) {
        lang::passOn(e, getClassName());
    }
    if (!written) {
        lang::raise<lang::IllegalStateException>(getClassName(), u"Output path is NULL.");
    }
}

const WideChar* ILogger::getClassName() const {
    return u"moraine::util::log::ILogger";
}

void ILogger::doWriteLog(const WideChar* message) {
    stamp();
    const std::size_t messageLength = text::lengthOf(message);
    WideString line;
    line.reserve(timestampLength + 1 + messageLength + 2);
    line.append(timestamp, timestampLength).append(1, u' ').append(message, messageLength).append(u"\r\n", 2);
    try {
        const OwnedByteString bytes = encoder.doEncodeW2M(line.data(), text::unitCount(line.size()), true);
        stream.write(bytes->data(), text::unitCount(bytes->size()));
        stream.flush();
    } catch (lang::IllegalArgumentException& e) {
        lang::passOn(e, getClassName());
    } catch (io::IOException& e) {
        lang::passOn(e, getClassName());
    }
}

/// Opens the file if that is due and writes a line, all with the lock held; false if there is no path.
bool ILogger::writeLocked(const WideChar* message) {
    const std::lock_guard<platform::LoggerMutex> lock(*mutex);
    if (!outputPath) {
        return false;
    }
    if (stream.getFileName() == nullptr || needReopen) {
        needReopen = true;
        stream.setFileName(outputPath.get());
        needReopen = false;
    }
    doWriteLog(message);
    return true;
}

/// Brings the timestamp up to date.
void ILogger::stamp() {
    const std::int64_t now = platform::now();
    if (now != time) {
        writeTimestamp(platform::universalTime(now), timestamp);
        time = now;
    }
}

}  // namespace moraine::util::log
