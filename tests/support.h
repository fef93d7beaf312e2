#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <typeinfo>
#include <vector>

#include "moraine/lang/Exception.h"

namespace moraine::test {

/// Expects that @p action throws an object of exactly the class `E`, with this message and, if any are given, these
/// class names in the lines of its trace.
template <class E, class Action>
void expectFailure(Action action, const WideString& message, const std::vector<WideString>& layers = {}) {
    try {
        action();
        ADD_FAILURE() << "nothing was thrown, in place of " << typeid(E).name();
    } catch (lang::Exception& e) {
        EXPECT_STREQ(typeid(e).name(), typeid(E).name());
        EXPECT_EQ(*e.getMessage(), message);
        const WideString report = *e.getTrace(), mark = u"\r\n\tat ";
        std::vector<WideString> found;
        for (auto at = report.find(mark); at != WideString::npos; at = report.find(mark, at + 1)) {
            found.push_back(report.substr(at + mark.size(), report.find(u'(', at) - at - mark.size()));
        }
        EXPECT_TRUE(layers.empty() || found == layers) << ::testing::PrintToString(found);
    }
}

/// A new directory that ends with this object, content and all.
struct TemporaryDirectory {
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "moraine-XXXXXX").string();
        root = std::filesystem::canonical(::mkdtemp(pattern.data()));
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(root); }
    std::filesystem::path path(const std::string& name) const { return root / name; }
    WideString name(const WideString& file) const { return root.u16string() + u"/" + file; }

    std::filesystem::path root;
};

inline std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void makeFile(const std::filesystem::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

/// The number of files that the process has open.
inline long openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

/// Every test leaves as many files open as it found.
struct DescriptorsStay : ::testing::Test {
    void TearDown() override { EXPECT_EQ(openDescriptors(), descriptors); }
    const long descriptors = openDescriptors();
};

/// Sets a locale of the process until the end of this object.
struct LocaleScope {
    explicit LocaleScope(const char* wanted) : known(std::setlocale(LC_ALL, wanted) != nullptr) {}
    ~LocaleScope() { std::setlocale(LC_ALL, former.c_str()); }

    const std::string former = std::setlocale(LC_ALL, nullptr);
    const bool known;
};

}  // namespace moraine::test
