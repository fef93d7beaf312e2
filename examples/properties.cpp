// Reads a property file, shows or changes it, and writes it back.

#include "moraine/extras/TextInputStream.h"
#include "moraine/io/FileInputStream.h"
#include "moraine/io/MemoryOutputStream.h"
#include "moraine/util/PropertyManager.h"

#include "console.h"
#include "draft.h"

namespace {

using moraine::util::PropertyManager;

constexpr const char* usage = "usage: properties FILE [list | get NAME | set NAME VALUE | remove NAME]\n"
                              "\n"
                              "  list            print all entries, sorted by name (the default)\n"
                              "  get NAME        print one value; status 1 if there is none\n"
                              "  set NAME VALUE  add or replace an entry; makes FILE if there is none\n"
                              "  remove NAME     remove an entry; status 1 if there is none\n"
                              "  --help          print this text\n"
                              "\n"
                              "The file is in UTF-8. Comments and empty lines do not survive a change. FILE\n"
                              "stays as it was unless the new one could be written whole.\n";

/// Prints the entries as they would be written, with the line ends of this system.
void list(PropertyManager& properties) {
    moraine::io::MemoryOutputStream table;
    properties.write(&table, u"UTF-8");
    std::string text(table.getBytes(), table.getSize());
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    std::printf("%s", text.c_str());
}

void load(PropertyManager& properties, const std::string& path) {
    moraine::io::FileInputStream file(console::wide(path).c_str());
    moraine::extras::TextInputStream text(file);  // in pieces that the manager has room for, however long the file is
    properties.read(&text, u"UTF-8");
}

void save(PropertyManager& properties, const std::string& path) {
    Draft draft(path);
    properties.write(&draft.getStream(), u"UTF-8");
    draft.publish();
}

/// A value that would not read back is refused before anything is written.
moraine::WideString checkedValue(const std::string& value) {
    if (value.find('\n') != std::string::npos || (!value.empty() && value.back() == '\r')) {
        throw std::runtime_error("a value cannot hold a line feed or end with a carriage return");
    }
    return console::wide(value);
}

int program(const std::vector<std::string>& words) {
    const std::string& path = words[0];
    const std::string command = words.size() > 1 ? words[1] : "list";
    PropertyManager properties;
    if (command != "set" || std::filesystem::exists(path)) {
        load(properties, path);
    }
    if (command == "list") {
        list(properties);
        return console::done;
    }
    const moraine::WideString name = console::wide(words[2]);
    const moraine::WideChar* const value = properties.get(name.c_str());
    if (command != "set" && value == nullptr) {
        std::fprintf(stderr, "%s: no entry %s\n", path.c_str(), words[2].c_str());
        return console::failed;
    }
    if (command == "get") {
        std::printf("%s\n", console::narrow(value).c_str());
        return console::done;
    }
    properties.remove(name.c_str());
    if (command == "set") {
        if (name.empty()) {
            throw std::runtime_error("a name cannot be empty");
        }
        properties.put(name.c_str(), checkedValue(words[3]).c_str());
    }
    save(properties, path);
    return console::done;
}

/// How many words a command takes, the file and the command counted; 0 for one that there is not.
std::size_t expectedWords(const std::string& command) {
    return command == "list" ? 2 : command == "get" || command == "remove" ? 3 : command == "set" ? 4 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {}, [](const console::CommandLine& line) {
        line.expectWords(1, 4);
        const std::size_t count = line.words.size();
        if (count > 1 && count != expectedWords(line.words[1])) {
            throw console::Misuse("that is no command, or not what it needs");
        }
        return program(line.words);
    });
}
