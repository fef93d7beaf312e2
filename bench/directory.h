#ifndef MORAINE_BENCH_DIRECTORY_H
#define MORAINE_BENCH_DIRECTORY_H

#include <cstdlib>
#include <filesystem>
#include <string>

namespace bench {

/// A new folder for temporary files, which ends with this object, content and all.
class Directory {
public:
    Directory() {
        std::string pattern = std::filesystem::temp_directory_path() / "moraine-bench-XXXXXX";
        root = ::mkdtemp(pattern.data());
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory() {
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }

    std::string path(const std::string& name) const { return root / name; }

private:
    std::filesystem::path root;
};

}  // namespace bench

#endif
