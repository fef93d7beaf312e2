#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "moraine/text/WideChar.h"

namespace moraine::util {

/// Texts by name, found by a hash of the name. An entry's text stays where it is until the entry is removed.
class PropertyTable {
public:
    PropertyTable();
    PropertyTable(const PropertyTable& other);
    PropertyTable(PropertyTable&& other) noexcept = default;
    ~PropertyTable() = default;
    PropertyTable& operator=(const PropertyTable& other) { return *this = PropertyTable(other); }
    PropertyTable& operator=(PropertyTable&& other) noexcept = default;

    std::size_t size() const noexcept { return entries.size() - removed; }

    /// The value of a name, with a terminator behind it, or null.
    const WideChar* find(std::u16string_view name) const noexcept;

    /// Adds an entry, unless there is one of that name.
    void add(std::u16string_view name, std::u16string_view value);

    void remove(std::u16string_view name) noexcept;

    /// Hands names and values to @p visit in order of the names' units.
    template <class Visit>
    void forEach(Visit visit) {
        sort();
        for (const Entry& entry : entries) {
            visit(entry.name(), entry.value());
        }
    }

private:
    struct Entry {
        std::unique_ptr<WideChar[]> text;  // name, value, terminator; null where the entry was removed
        std::size_t nameLength;
        std::size_t valueLength;
        std::uint64_t hash;

        std::u16string_view name() const noexcept { return {text.get(), nameLength}; }
        std::u16string_view value() const noexcept { return {text.get() + nameLength, valueLength}; }
    };

    std::uint64_t hashOf(std::u16string_view name) const noexcept;
    std::size_t slotOf(std::u16string_view name, std::uint64_t hash) const noexcept;
    void grow();
    void sort();
    void dropRemoved() noexcept;
    void fillSlots() noexcept;

    std::vector<Entry> entries;  // with those that were removed
    std::size_t removed = 0;
    bool inOrder = true;  // the entries are
    // 0, or index + 1 of an entry that is there; a power of two of them, at least half of them 0.
    std::vector<std::uint32_t> slots;
    // What hashes are made with. No file can be made to hold names of one hash where it is not known.
    std::uint64_t key;
};

}  // namespace moraine::util
