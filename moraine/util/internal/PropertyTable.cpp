#include "moraine/util/internal/PropertyTable.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <random>

namespace moraine::util {
namespace {

/// A number that each bit of @p value has a part in: both halves of a product.
std::uint64_t mixed(std::uint64_t value, std::uint64_t factor) noexcept {
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(value) * factor;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

constexpr std::size_t step = 8;

/// Eight units in one number. Units below 0x100, which those of names are, are all in it.
std::uint64_t packed(const WideChar* units) noexcept {
    std::uint64_t halves[2];
    std::memcpy(halves, units, sizeof(halves));
    return halves[0] ^ halves[1] << 8;
}

/// A number by chance, and odd.
std::uint64_t drawn() noexcept {
    try {
        std::random_device device;
        return std::uint64_t{device()} << 32 | device() | 1U;
    } catch (...) {
        // A system without a source of chance has a clock.
        return static_cast<std::uint64_t>(std::chrono::high_resolution_clock::now().time_since_epoch().count()) | 1U;
    }
}

/// What all hashes of a process are made with; 0 until it is drawn. A static in a function would do, but for its guard:
/// a child forked while another thread is in there would wait at it for ever.
std::atomic<std::uint64_t> processKey{0};

}  // namespace

PropertyTable::PropertyTable() {
    if (processKey == 0) {
        std::uint64_t none = 0;
        processKey.compare_exchange_strong(none, drawn());
    }
    key = processKey;
}

PropertyTable::PropertyTable(const PropertyTable& other) : PropertyTable() {
    for (const Entry& entry : other.entries) {
        if (entry.text) {
            add(entry.name(), entry.value());
        }
    }
}

const WideChar* PropertyTable::find(std::u16string_view name) const noexcept {
    if (slots.empty()) {
        return nullptr;
    }
    const std::uint32_t index = slots[slotOf(name, hashOf(name))];
    return index == 0 ? nullptr : entries[index - 1].value().data();
}

void PropertyTable::add(std::u16string_view name, std::u16string_view value) {
    if (entries.size() >= slots.size() / 2) {
        grow();
    }
    const std::uint64_t hash = hashOf(name);
    std::uint32_t& slot = slots[slotOf(name, hash)];
    if (slot != 0) {
        return;
    }
    std::unique_ptr<WideChar[]> text(new WideChar[name.size() + value.size() + 1]);
    *std::copy(value.begin(), value.end(), std::copy(name.begin(), name.end(), text.get())) = 0;
    entries.push_back({std::move(text), name.size(), value.size(), hash});
    slot = static_cast<std::uint32_t>(entries.size());
    inOrder = false;
}

void PropertyTable::remove(std::u16string_view name) noexcept {
    std::size_t hole = slots.empty() ? 0 : slotOf(name, hashOf(name));
    if (slots.empty() || slots[hole] == 0) {
        return;
    }
    // The entry itself stays for now, so that the others keep their places.
    entries[slots[hole] - 1].text.reset();
    ++removed;
    // Its slot must not stay: a name that comes and goes again and again would leave a long row of such slots, and each
    // search for it would walk along them. So entries behind it that may stand further in front move up.
    const std::size_t mask = slots.size() - 1;
    for (std::size_t at = (hole + 1) & mask; slots[at] != 0; at = (at + 1) & mask) {
        const std::size_t wanted = entries[slots[at] - 1].hash;
        if (((at - wanted) & mask) >= ((at - hole) & mask)) {
            slots[hole] = slots[at];
            hole = at;
        }
    }
    slots[hole] = 0;
}

std::uint64_t PropertyTable::hashOf(std::u16string_view name) const noexcept {
    std::uint64_t hash = key ^ name.size();
    if (name.size() < step) {
        std::uint64_t part = 0;
        for (const WideChar unit : name) {
            part = part << 8 ^ unit;
        }
        return mixed(hash ^ part, key);
    }
    // The last step takes the end of the name, with what the step in front of it may have taken already.
    const WideChar* const last = name.data() + name.size() - step;
    for (const WideChar* at = name.data(); at < last; at += step) {
        hash = mixed(hash ^ packed(at), key);
    }
    return mixed(hash ^ packed(last), key);
}

/// The slot of a name's entry, or the one where it goes.
std::size_t PropertyTable::slotOf(std::u16string_view name, std::uint64_t hash) const noexcept {
    std::size_t at = hash & (slots.size() - 1);
    while (slots[at] != 0) {
        const Entry& entry = entries[slots[at] - 1];
        if (entry.hash == hash && entry.nameLength == name.size() &&
            std::equal(name.begin(), name.end(), entry.text.get())) {
            break;
        }
        at = (at + 1) & (slots.size() - 1);
    }
    return at;
}

/// Makes room for as many entries again as there are.
void PropertyTable::grow() {
    std::size_t count = 16;
    while (count < 4 * size()) {
        count *= 2;
    }
    slots = std::vector<std::uint32_t>(count);
    dropRemoved();
    fillSlots();
}

/// Puts the entries in order. Few new ones among many that are in order take little time.
void PropertyTable::sort() {
    if (inOrder && removed == 0) {
        return;
    }
    const auto isBefore = [](const Entry& left, const Entry& right) { return left.name() < right.name(); };
    dropRemoved();
    const auto end = std::is_sorted_until(entries.begin(), entries.end(), isBefore);
    std::sort(end, entries.end(), isBefore);
    std::inplace_merge(entries.begin(), end, entries.end(), isBefore);
    inOrder = true;
    std::fill(slots.begin(), slots.end(), 0U);
    fillSlots();
}

void PropertyTable::dropRemoved() noexcept {
    if (removed > 0) {
        const auto isRemoved = [](const Entry& entry) { return !entry.text; };
        entries.erase(std::remove_if(entries.begin(), entries.end(), isRemoved), entries.end());
        removed = 0;
    }
}

/// Enters all entries into slots that are all free.
void PropertyTable::fillSlots() noexcept {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::size_t at = entries[i].hash & (slots.size() - 1);
        while (slots[at] != 0) {
            at = (at + 1) & (slots.size() - 1);
        }
        slots[at] = static_cast<std::uint32_t>(i + 1);
    }
}

}  // namespace moraine::util
