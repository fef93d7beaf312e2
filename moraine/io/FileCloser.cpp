#include "moraine/io/FileCloser.h"

#include "moraine/platform/Thread.h"

namespace moraine::io {

void FileCloser::operator()(std::FILE* file) const noexcept {
    const platform::CancellationHold hold;
    static_cast<void>(std::fclose(file));
}

}  // namespace moraine::io
