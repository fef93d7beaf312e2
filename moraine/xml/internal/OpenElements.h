#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "moraine/WideChar.h"

namespace moraine::xml {

/// The names of the open elements, outermost first.
class OpenElements {
public:
    [[nodiscard]] std::size_t count() const noexcept { return begins.size(); }

    void open(std::u16string_view name) {
        begins.push_back(names.size());
        names.append(name);
    }

    /// Closes the innermost element if that is its name.
    bool close(std::u16string_view name) noexcept {
        if (begins.empty() || std::u16string_view(names).substr(begins.back()) != name) {
            return false;
        }
        names.resize(begins.back());
        begins.pop_back();
        return true;
    }

private:
    WideString names;
    std::vector<std::size_t> begins;  // where each name begins
};

}  // namespace moraine::xml
