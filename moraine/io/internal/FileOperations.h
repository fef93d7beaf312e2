#pragma once

#include <algorithm>
#include <cstdio>
#include <memory>

#include "moraine/io/FileNotFoundException.h"
#include "moraine/io/internal/Positions.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/platform/Thread.h"
#include "moraine/text/WideChar.h"

/// @file
/// What the two file streams do in the same way. The class name and line are those of the stream that asks.

namespace moraine::io {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept {
        const platform::CancellationHold hold;
        static_cast<void>(std::fclose(file));
    }
};

/// What is inside a file stream, from its first `setFileName` on.
struct FileState {
    std::unique_ptr<char[]> buffer;               // the file's, which therefore ends first
    std::unique_ptr<std::FILE, FileCloser> file;  // null when not open
    std::unique_ptr<WideChar[]> name;
    long size = 0;         // of a file that is read, when it was opened
    bool buffered = true;  // a file that is written
};

/// The file of a stream.
/// @throws IOException @p notOpen, if it is not open
inline std::FILE* openedFile(const std::unique_ptr<FileState>& state, const WideChar* className,
                             const WideChar* notOpen, long line = __builtin_LINE()) {
    if (!state || !state->file) {
        lang::raise<IOException>(className, notOpen, line);
    }
    return state->file.get();
}

inline void closeFile(const std::unique_ptr<FileState>& state) noexcept {
    if (state) {
        state->file.reset();
    }
}

/// A copy of a file name with forward slashes in place of backslashes.
/// @throws lang::IllegalArgumentException without a message, if @p fileName is null
inline std::unique_ptr<WideChar[]> normalised(const WideChar* fileName, const WideChar* className,
                                              long line = __builtin_LINE()) {
    if (fileName == nullptr) {
        lang::raise<lang::IllegalArgumentException>(className, line);
    }
    std::unique_ptr<WideChar[]> name = text::copyOf(fileName);
    std::replace(name.get(), name.get() + text::lengthOf(name.get()), u'\\', u'/');
    return name;
}

/// Opens a file for a constructor. What fails gets a trace line and goes on as one of three classes: whatever is not
/// the caller's name or a file that cannot be opened becomes a plain `Exception`.
template <class Open>
void openInConstructor(const WideChar* className, Open open, long line = __builtin_LINE()) {
    try {
        open();
    } catch (lang::IllegalArgumentException& e) {
        lang::passOn(e, className, line);
    } catch (FileNotFoundException& e) {
        lang::passOn(e, className, line);
    } catch (lang::Exception& e) {
        lang::passOn(e, className, line);
    }
}

/// The words for a target that cannot be reached, whatever the reason.
inline WideString beyondStart(long target) {
    return lang::message(u"The range of the file was exceeded. : ", target, u" < 0");
}

/// Moves a file to @p count bytes from @p current, at most to @p end. A file that cannot be moved at all is known by
/// a negative @p current or @p end.
/// @throws IOException if the target lies outside; the file then stands at @p current
inline void seekWithin(std::FILE* file, long current, long count, long end, const WideChar* className,
                       long line = __builtin_LINE()) {
    const long target = moved(current, count);
    const bool movable = current >= 0 && end >= 0 && target >= 0;
    if (movable && target <= end && std::fseek(file, target, SEEK_SET) == 0) {
        return;
    }
    if (current >= 0) {
        static_cast<void>(std::fseek(file, current, SEEK_SET));
    }
    constexpr const WideChar* range = u"The range of the file was exceeded. : ";
    lang::raise<IOException>(
        className, movable && target > end ? lang::message(range, target, u" > ", end) : beyondStart(target), line);
}

}  // namespace moraine::io
