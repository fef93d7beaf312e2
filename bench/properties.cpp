#include <moraine/io/InputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/util/PropertyManager.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "bench.h"
#include "directory.h"

#ifdef BENCH_HAVE_LOG4CPLUS
#include <log4cplus/helpers/property.h>
#endif
#ifdef BENCH_HAVE_GLIB
#include <glib.h>
#endif
#ifdef BENCH_HAVE_POCO
#include <Poco/AutoPtr.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#endif
#ifdef BENCH_HAVE_QT
#include <QSettings>
#include <QString>
#endif

namespace {

constexpr int entryCount = 10000;

constexpr const char* section = "General";  // where a library wants one

std::string nameOf(int number) {
    return "service_" + std::to_string(number % 97) + "_option_" + std::to_string(number);
}

/// A property file as most libraries take it, with a comment now and then; other libraries' files begin with a section.
std::string file(bool sectioned) {
    std::string text = sectioned ? "[" + std::string(section) + "]\n" : "";
    for (int i = 0; i < entryCount; ++i) {
        if (i % 100 == 0) {
            text += "# The options from number " + std::to_string(i) + " on\n";
        }
        text += nameOf(i) + "=/srv/data/area-" + std::to_string(i % 13) + "/item-" + std::to_string(i) + ".dat\n";
    }
    return text;
}

/// Every name once, in no order, made by a function.
template <class Name, class Make>
std::vector<Name> names(Make make) {
    std::vector<Name> all;
    for (int i = 0; i < entryCount; ++i) {
        all.push_back(make(nameOf(i)));
    }
    std::shuffle(all.begin(), all.end(), std::mt19937(1));
    return all;
}

/// Tells the entries of a written file, whatever its order, sections and comments, and the sign between name and value.
std::string entriesOf(const std::string& text) {
    std::vector<std::string> entries;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        const std::size_t sign = line.find_first_of("=:");
        if (sign != std::string::npos && line[0] != '#') {
            const std::size_t value = line.find_first_not_of(' ', sign + 1);
            entries.push_back(line.substr(0, sign) + '=' + line.substr(value));
        }
    }
    std::sort(entries.begin(), entries.end());
    std::string all;
    for (const std::string& entry : entries) {
        all += entry + '\n';
    }
    return std::to_string(entries.size()) + " entries, " + bench::digest(all);
}

/// Has a look at a value that was found: not all libraries come near its text on the way to its length.
template <class Text>
std::size_t seen(const Text& value) {
    return value.size() + value[value.size() - 1];
}

// Each library is a class whose constructor reads the file. `lookup` looks for every name, and `write` writes the file
// anew.

/// A stream of pieces that PropertyManager takes, however long the whole.
class Pieces : public moraine::io::InputStream {
public:
    explicit Pieces(const std::string& content) : text(content) {}
    unsigned int read(char* target, unsigned int length) override {
        const std::size_t count = text.copy(target, std::min(length, 4096U), position);
        position += count;
        return static_cast<unsigned int>(count);
    }
    void skip(long /*count*/) override {}
    void close() override {}

private:
    const std::string& text;
    std::size_t position = 0;
};

struct Moraine {
    Moraine() {
        static const std::string text = file(false);
        Pieces pieces(text);
        manager.read(&pieces, u"UTF-8");
    }
    std::size_t lookup() {
        static const auto all = names<moraine::WideString>(
            [](const std::string& name) { return moraine::WideString(name.begin(), name.end()); });
        std::size_t total = 0;
        for (const moraine::WideString& name : all) {
            total += seen(std::u16string_view(manager.get(name.c_str())));
        }
        return total;
    }
    std::string write() {
        moraine::io::MemoryOutputStream out;
        manager.write(&out, u"UTF-8");
        return {out.getBytes(), out.getSize()};
    }
    moraine::util::PropertyManager manager;
};

#ifdef BENCH_HAVE_LOG4CPLUS
struct Log4cplus {
    Log4cplus() {
        static const std::string text = file(false);
        std::istringstream in(text);
        properties = log4cplus::helpers::Properties(in);
    }
    std::size_t lookup() {
        static const auto all = names<std::string>([](const std::string& name) { return name; });
        std::size_t total = 0;
        for (const std::string& name : all) {
            total += seen(properties.getProperty(name));
        }
        return total;
    }
    log4cplus::helpers::Properties properties;
};
#endif

#ifdef BENCH_HAVE_GLIB
struct GLib {
    GLib() {
        static const std::string text = file(true);
        g_key_file_load_from_data(keys.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
    }
    std::size_t lookup() {
        static const auto all = names<std::string>([](const std::string& name) { return name; });
        std::size_t total = 0;
        for (const std::string& name : all) {
            const std::unique_ptr<char, void (*)(void*)> value(
                g_key_file_get_value(keys.get(), section, name.c_str(), nullptr), g_free);
            total += seen(std::string_view(value.get()));
        }
        return total;
    }
    std::string write() {
        gsize length = 0;
        const std::unique_ptr<char, void (*)(void*)> text(g_key_file_to_data(keys.get(), &length, nullptr), g_free);
        return {text.get(), length};
    }
    std::unique_ptr<GKeyFile, void (*)(GKeyFile*)> keys{g_key_file_new(), g_key_file_unref};
};
#endif

#ifdef BENCH_HAVE_POCO
struct PocoLibrary {
    PocoLibrary() {
        static const std::string text = file(false);
        std::istringstream in(text);
        configuration->load(in);
    }
    std::size_t lookup() {
        static const auto all = names<std::string>([](const std::string& name) { return name; });
        std::size_t total = 0;
        for (const std::string& name : all) {
            total += seen(configuration->getRawString(name));
        }
        return total;
    }
    std::string write() {
        std::ostringstream out;
        configuration->save(out);
        return out.str();
    }
    Poco::AutoPtr<Poco::Util::PropertyFileConfiguration> configuration{new Poco::Util::PropertyFileConfiguration};
};
#endif

#ifdef BENCH_HAVE_QT
/// Knows files alone. What it reads once it keeps as long as the file is in use or the whole is small, and 10,000
/// entries are not small; so each new object reads the file.
struct QtLibrary {
    QtLibrary() : settings(QString::fromStdString(path()), QSettings::IniFormat) { settings.childKeys(); }
    std::size_t lookup() {
        static const auto all = names<QString>([](const std::string& name) { return QString::fromStdString(name); });
        std::size_t total = 0;
        for (const QString& name : all) {
            const QString value = settings.value(name).toString();
            total += seen(std::u16string_view(reinterpret_cast<const char16_t*>(value.utf16()),
                                              static_cast<std::size_t>(value.size())));
        }
        return total;
    }
    static const std::string& path() {
        static const bench::Directory directory;
        static const std::string name = [] {
            const std::string whole = directory.path("settings.ini");
            std::ofstream(whole, std::ios::binary) << file(true);
            return whole;
        }();
        return name;
    }
    /// The file is written anew when something has been set. Reading it back is small beside that.
    std::string write() {
        const QString name = QString::fromStdString(nameOf(0));
        settings.setValue(name, settings.value(name));
        settings.sync();
        std::ifstream in(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    QSettings settings;
};
#endif

template <class Library>
void addColumns(const char* name, std::vector<bench::Column>& read, std::vector<bench::Column>& lookup) {
    // Of what is found the length and a unit are told; the entries themselves are told by those who write them.
    read.push_back({name, [] { return std::to_string(Library().lookup()); },
                    [] { const auto made = std::make_unique<Library>(); }});
    const auto total = [made = std::make_shared<std::unique_ptr<Library>>()] {
        if (*made == nullptr) {
            *made = std::make_unique<Library>();
        }
        return std::to_string((*made)->lookup());
    };
    lookup.push_back(bench::column(name, total));
}

template <class Library>
bench::Column writeColumn(const char* name) {
    const auto text = [made = std::make_shared<std::unique_ptr<Library>>()] {
        if (*made == nullptr) {
            *made = std::make_unique<Library>();
        }
        return (*made)->write();
    };
    bench::Column column = bench::column(name, text);
    column.outcome = [text] { return entriesOf(text()); };
    return column;
}

const bench::Jobs jobs{[] {
    std::vector<bench::Column> read;
    std::vector<bench::Column> lookup;
    std::vector<bench::Column> write;
    addColumns<Moraine>("moraine", read, lookup);
    write.push_back(writeColumn<Moraine>("moraine"));
#ifdef BENCH_HAVE_LOG4CPLUS
    addColumns<Log4cplus>("log4cplus", read, lookup);
#endif
#ifdef BENCH_HAVE_GLIB
    addColumns<GLib>("GLib", read, lookup);
    write.push_back(writeColumn<GLib>("GLib"));
#endif
#ifdef BENCH_HAVE_POCO
    addColumns<PocoLibrary>("POCO", read, lookup);
    write.push_back(writeColumn<PocoLibrary>("POCO"));
#endif
#ifdef BENCH_HAVE_QT
    addColumns<QtLibrary>("Qt", read, lookup);
    write.push_back(writeColumn<QtLibrary>("Qt"));
#endif
    const std::size_t size = file(false).size();
    bench::job("properties/read", size, read);
    bench::job("properties/lookup", 0, lookup);
    bench::job("properties/write", size, write);
}};

}  // namespace
