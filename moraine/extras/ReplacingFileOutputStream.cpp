#include "moraine/extras/ReplacingFileOutputStream.h"

#include <random>
#include <system_error>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Paths.h"
#include "moraine/io/FileNotFoundException.h"
#include "moraine/io/IOException.h"

namespace moraine::extras {
namespace {

namespace fs = std::filesystem;

constexpr const WideChar* className = u"moraine::extras::ReplacingFileOutputStream";

/// A name beside @p target that nothing has.
fs::path draftOf(const fs::path& target) {
    std::random_device random;
    std::error_code ignored;
    fs::path draft;
    do {
        draft = target;
        draft += "." + std::to_string(random()) + ".new";
    } while (fs::exists(draft, ignored));
    return draft;
}

}  // namespace

ReplacingFileOutputStream::ReplacingFileOutputStream(const WideChar* name)
    : given(name == nullptr ? u"" : name), target(pathOf(name, className)) {
    std::error_code ignored;
    if (fs::is_symlink(target, ignored)) {
        const fs::path linked = fs::canonical(target, ignored);
        target = linked.empty() ? target : linked;
    }
    const fs::file_status status = fs::status(target, ignored);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        raise<io::FileNotFoundException>(className, name);
    }
    if (isReadOnly(status)) {
        raise<io::IOException>(className, words(u"This file is read-only. : ", name));
    }
    draft = draftOf(target);
    try {
        file.setFileName(draft.u16string().c_str());
    } catch (io::FileNotFoundException&) {
        raise<io::FileNotFoundException>(className, name);
    } catch (const std::system_error&) {  // a link leads to a name that is no text
        raise<io::FileNotFoundException>(className, name);
    }
}

ReplacingFileOutputStream::~ReplacingFileOutputStream() {
    if (!closed) {
        discard();
    }
}

unsigned int ReplacingFileOutputStream::write(const char* data, unsigned int length) {
    if (closed) {
        raise<io::IOException>(className, u"The stream is closed.");
    }
    if (failed || file.write(data, length) != length) {
        fail();
    }
    return length;
}

void ReplacingFileOutputStream::flush() {
    file.flush();
}

void ReplacingFileOutputStream::close() {
    if (closed) {
        return;
    }
    if (failed) {
        fail();
    }
    try {
        file.flush();
        file.skip(0);  // fails if not all has been taken
    } catch (io::IOException&) {
        fail();
    }
    file.close();
    std::error_code problem;
    const fs::file_status old = fs::status(target, problem);
    if (fs::exists(old)) {
        fs::permissions(draft, old.permissions(), problem);
    }
    fs::rename(draft, target, problem);
    if (problem) {
        fail();
    }
    closed = true;
}

void ReplacingFileOutputStream::fail(long line) {
    failed = true;
    discard();
    raise<io::IOException>(className, words(u"The file could not be written. : ", given), line);
}

void ReplacingFileOutputStream::discard() noexcept {
    file.close();
    std::error_code ignored;
    fs::remove(draft, ignored);
}

}  // namespace moraine::extras
