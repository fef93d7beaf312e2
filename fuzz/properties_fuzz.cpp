#include <map>

#include "moraine/io/MemoryOutputStream.h"
#include "moraine/util/PropertyManager.h"

#include "blocks.h"

namespace moraine::fuzz {
namespace {

using util::PropertyManager;

std::string written(PropertyManager& properties, const WideChar* encoding = u"UTF-8") {
    io::MemoryOutputStream sink;
    properties.write(&sink, encoding);
    return {sink.getBytes(), sink.getSize()};
}

bool reads(PropertyManager& properties, const std::string& bytes, const std::string& sizes, const WideChar* encoding) {
    Blocks blocks(bytes, sizes);
    return resultOf<lang::Exception>([&] { return properties.read(&blocks, encoding), true; }).has_value();
}

/// A file in blocks, and what was read of it written and read again.
void checkFile(Input input) {
    const WideChar* const encodings[] = {u"UTF-8", u"BASE64", u"URL"};
    const WideChar* const encoding = encodings[input.below(3)];
    const std::string sizes(1, static_cast<char>(1 + input.below(256)));
    const std::string file = input.remaining();
    PropertyManager properties, again;
    reads(properties, file, sizes, encoding);
    const std::string table = written(properties);
    const bool hasZero = table.find('\0') != std::string::npos;  // which in UTF-8 hides the rest of its block
    const bool hasWide =
        std::any_of(table.begin(), table.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    for (const WideChar* const other : encodings) {
        const bool fits = reads(again, written(properties, other), "\xFF", other);
        const bool isKept = other == encodings[2] || (!hasZero && !(hasWide && other == encodings[1]));
        require(!isKept || fits || table.size() > 9000, "what is written is refused only for want of room");
        require(!isKept || !fits || written(again) == table, "what is written reads back");
    }
}

/// A program of operations on a table, beside a map. With few names most steps meet an entry.
void checkTable(Input input) {
    PropertyManager properties;
    std::map<WideString, WideString> model;
    const unsigned int names = 1 + input.below(300);
    while (!input.isEmpty()) {
        const unsigned int operation = input.below(8), number = input.below(names);
        const std::string digits(1 + number % 7, static_cast<char>('a' + number % 26)), tail = std::to_string(number);
        const WideString name = WideString(digits.begin(), digits.end()).append(tail.begin(), tail.end());
        const WideChar* const found = properties.get(name.c_str());
        const auto entry = model.find(name);
        require(found == nullptr ? entry == model.end() : entry != model.end() && entry->second == found,
                "what is found");
        if (operation < 4) {
            const WideString value = input.text(operation);
            properties.put(name.c_str(), value.c_str());
            model.emplace(name, value.c_str());
            require(found == nullptr || found == properties.get(name.c_str()), "an entry stays where it is");
        } else if (operation < 6) {
            properties.remove(name.c_str());
            model.erase(name);
        } else if (operation == 6) {
            properties = PropertyManager(properties);
        } else if (number % 4 == 1) {
            written(properties);
        } else if (number == 0) {
            properties.removeAll();
            model.clear();
        }
        require(properties.count() == model.size(), "the number of entries");
    }
    PropertyManager plain;
    for (const auto& [name, value] : model) {
        plain.put(name.c_str(), value.c_str());
    }
    require(written(properties) == written(plain), "written in order");
}

}  // namespace

void check(Input input) {
    input.below(2) == 0 ? checkFile(input) : checkTable(input);
}

}  // namespace moraine::fuzz
