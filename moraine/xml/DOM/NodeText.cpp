#include "moraine/xml/DOM/NodeText.h"

#include <algorithm>
#include <cstring>

namespace moraine::xml::DOM {

void NodeText::assign(const WideChar* source, std::size_t length) {
    std::unique_ptr<WideChar[]> room;
    if (length >= insideRoom) {
        room.reset(new WideChar[length + 1]);
    }
    WideChar* const target = room ? room.get() : inside;
    std::memmove(target, source, length * sizeof(WideChar));
    target[length] = 0;
    text = target;
    outside = std::move(room);
}

void NodeText::reset() noexcept {
    text = nullptr;
    outside.reset();
}

}  // namespace moraine::xml::DOM
