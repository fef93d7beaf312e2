#pragma once

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "moraine/extras/internal/Failure.h"
#include "moraine/io/FileNotFoundException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

/// The path that a file stream opens by this name.
/// @throws lang::IllegalArgumentException without a message, if the name is null
/// @throws io::FileNotFoundException with the name, if it is empty or the system has no form for it
inline std::filesystem::path pathOf(const WideChar* name, const WideChar* className, long line = __builtin_LINE()) {
    if (name == nullptr) {
        raise<lang::IllegalArgumentException>(className, u"", line);
    }
    WideString normal = name;
    std::replace(normal.begin(), normal.end(), u'\\', u'/');
    try {
        std::filesystem::path path(normal);
        if (!path.empty()) {
            return path;
        }
    } catch (const std::system_error&) {
        // half a surrogate pair
    }
    raise<io::FileNotFoundException>(className, name, line);
}

/// Whether nobody may write it.
inline bool isReadOnly(const std::filesystem::file_status& status) {
    using std::filesystem::perms;
    constexpr perms write = perms::owner_write | perms::group_write | perms::others_write;
    return std::filesystem::exists(status) && (status.permissions() & write) == perms::none;
}

}  // namespace moraine::extras
