#pragma once

#include "moraine/io/IOException.h"

namespace moraine::io {

/// A file that cannot be opened.
class MORAINE_API FileNotFoundException : public IOException {
public:
    FileNotFoundException(const WideChar* className, long line) : IOException(className, line) {}
    FileNotFoundException(const FileNotFoundException& other);
    ~FileNotFoundException() override;
    FileNotFoundException& operator=(const FileNotFoundException& other);

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::io
