#include <benchmark/benchmark.h>
#include <moraine/text/StringUtil.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench.h"

#ifdef BENCH_HAVE_QT
#include <QByteArray>
#include <QString>
#endif
#ifdef BENCH_HAVE_POCO
#include <Poco/String.h>
#endif
#ifdef BENCH_HAVE_ABSEIL
#include <absl/strings/ascii.h>
#include <absl/strings/str_replace.h>
#endif

namespace {

using moraine::ByteString;
using moraine::WideChar;
using moraine::WideString;
using moraine::text::StringUtil;

constexpr std::size_t jobSize = std::size_t{1} << 20;

// Each library is a class with the same operations on its own type of text, of which `input` makes one.

template <class Unit>
using Text = std::basic_string<Unit>;

/// A result of StringUtil, with the interface of a text.
template <class Unit>
struct Owned {
    std::unique_ptr<Text<Unit>> text;
    std::size_t size() const { return text->size(); }
    const Unit* data() const { return text->data(); }
};

template <class Unit>
Owned<Unit> owned(std::unique_ptr<Text<Unit>> text) {
    return {std::move(text)};
}

struct Moraine {
    template <class Unit>
    static Text<Unit> input(const Text<Unit>& text) {
        return text;
    }
    template <class Unit>
    static unsigned int size(const Text<Unit>& text) {
        return static_cast<unsigned int>(text.size());
    }
    static auto replace(const ByteString& text, const ByteString& search, const ByteString& replacement) {
        return owned(StringUtil().doReplace(text.data(), size(text), search.c_str(), replacement.c_str()));
    }
    static auto replace(const WideString& text, const WideString& search, const WideString& replacement) {
        return owned(StringUtil().doReplaceW(text.data(), size(text), search.c_str(), replacement.c_str()));
    }
    static auto trim(const ByteString& text) { return owned(StringUtil().doTrim(text.data(), size(text))); }
    static auto trim(const WideString& text) { return owned(StringUtil().doTrimW(text.data(), size(text))); }
    static auto upper(const ByteString& text) { return owned(StringUtil().toUpper(text.data(), size(text))); }
    static auto upper(const WideString& text) { return owned(StringUtil().toUpperW(text.data(), size(text))); }
    static auto lower(const ByteString& text) { return owned(StringUtil().toLower(text.data(), size(text))); }
    static auto lower(const WideString& text) { return owned(StringUtil().toLowerW(text.data(), size(text))); }
};

#ifdef BENCH_HAVE_QT
struct QtLibrary {
    static QByteArray input(const ByteString& text) { return QByteArray::fromStdString(text); }
    static QString input(const WideString& text) { return QString::fromStdU16String(text); }
    template <class QtText>
    static QtText replace(QtText text, const QtText& search, const QtText& replacement) {
        return text.replace(search, replacement);
    }
    template <class QtText>
    static QtText trim(const QtText& text) {
        return text.trimmed();
    }
    template <class QtText>
    static QtText upper(const QtText& text) {
        return text.toUpper();
    }
    template <class QtText>
    static QtText lower(const QtText& text) {
        return text.toLower();
    }
};
#endif

#ifdef BENCH_HAVE_POCO
struct PocoLibrary {
    template <class String>
    static String input(const String& text) {
        return text;
    }
    template <class String>
    static String replace(const String& text, const String& search, const String& replacement) {
        return Poco::replace(text, search, replacement);
    }
    template <class String>
    static String trim(const String& text) {
        return Poco::trim(text);
    }
    template <class String>
    static String upper(const String& text) {
        return Poco::toUpper(text);
    }
    template <class String>
    static String lower(const String& text) {
        return Poco::toLower(text);
    }
};
#endif

#ifdef BENCH_HAVE_ABSEIL
struct Abseil {
    static ByteString input(const ByteString& text) { return text; }
    static ByteString replace(const ByteString& text, const ByteString& search, const ByteString& replacement) {
        return absl::StrReplaceAll(text, {{search, replacement}});
    }
    static ByteString trim(const ByteString& text) { return ByteString(absl::StripAsciiWhitespace(text)); }
    static ByteString upper(const ByteString& text) { return absl::AsciiStrToUpper(text); }
    static ByteString lower(const ByteString& text) { return absl::AsciiStrToLower(text); }
};
#endif

template <class Unit>
Text<Unit> widened(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

/// The inputs of a job: pieces of `size` units, made when they are asked for.
template <class Unit>
using Source = std::function<std::vector<Text<Unit>>()>;

/// One library's column of a job that makes one text of each input by `operation`.
template <class Library, class Unit, class Operation>
bench::Column columnOf(const char* name, const Source<Unit>& source, Operation operation) {
    using Input = decltype(Library::input(Text<Unit>()));
    const auto inputs = [source, made = std::make_shared<std::vector<Input>>()]() -> const std::vector<Input>& {
        if (made->empty()) {
            for (const Text<Unit>& text : source()) {
                made->push_back(Library::input(text));
            }
        }
        return *made;
    };
    const auto outcome = [=] {
        std::string all;
        for (const Input& input : inputs()) {
            const auto result = operation(Library(), input);
            all.append(reinterpret_cast<const char*>(result.data()),
                       static_cast<std::size_t>(result.size()) * sizeof(Unit));
        }
        return bench::digest(all);
    };
    const auto run = [=] {
        for (const Input& input : inputs()) {
            benchmark::DoNotOptimize(operation(Library(), input).size());
        }
    };
    return {name, outcome, run};
}

template <class Unit, class Operation>
void addJob(const std::string& name, const Source<Unit>& source, Operation operation) {
    std::vector<bench::Column> columns{columnOf<Moraine, Unit>("moraine", source, operation)};
#ifdef BENCH_HAVE_QT
    columns.push_back(columnOf<QtLibrary, Unit>("Qt", source, operation));
#endif
#ifdef BENCH_HAVE_POCO
    columns.push_back(columnOf<PocoLibrary, Unit>("POCO", source, operation));
#endif
#ifdef BENCH_HAVE_ABSEIL
    if constexpr (sizeof(Unit) == 1) {
        columns.push_back(columnOf<Abseil, Unit>("Abseil", source, operation));
    }
#endif
    bench::job(name, jobSize, columns);
}

/// Words that begin with a capital, with a mark between two of them every `distance` chars or so.
std::string words(std::size_t size, std::size_t distance, std::string_view mark) {
    std::string text;
    std::size_t next = distance / 2;
    unsigned int number = 1;
    while (text.size() < size) {
        if (text.size() >= next) {
            text += mark;
            next = text.size() + distance / 2 + (number >> 16) % distance;
        }
        text += "ETAOINSHRDLU"[number / 7 % 12];
        for (unsigned int i = 0; i < 1 + (number >> 20) % 9; ++i) {
            text += "etaoinshrdlu"[(number >> (8 + i)) % 12];
        }
        text += ' ';
        number = number * 1103515245 + 12345;
    }
    text.resize(size);
    return text;
}

template <class Unit>
void addJobs(const std::string& form) {
    struct Replacement {
        const char* shape;
        std::size_t distance;
        const char* text;
    };
    for (const auto& [shape, distance, text] :
         {Replacement{"rare", 4096, "=term"}, Replacement{"frequent", 24, "=term"},
          Replacement{"longer", 64, "=a longer term="}, Replacement{"shorter", 64, "="}}) {
        const Source<Unit> source = [distance = distance]() -> std::vector<Text<Unit>> {
            return {widened<Unit>(words(jobSize / sizeof(Unit), distance, "@name"))};
        };
        const auto replace = [replacement = widened<Unit>(text), search = widened<Unit>("@name")](auto library,
                                                                                                  const auto& input) {
            return library.replace(input, library.input(search), library.input(replacement));
        };
        addJob<Unit>("string/replace-" + form + '/' + shape, source, replace);
    }
    const std::pair<const char*, std::size_t> pieces[] = {{"words", 12}, {"lines", 80}, {"pages", 4096}};
    for (const auto& [shape, size] : pieces) {
        const Source<Unit> source = [size = size] {
            const std::string text = words(jobSize / sizeof(Unit), jobSize, "");
            std::vector<Text<Unit>> texts;
            for (std::size_t at = 0; at < text.size(); at += size) {
                texts.push_back(widened<Unit>("  " + text.substr(at, size - 5) + "   "));
            }
            return texts;
        };
        addJob<Unit>("string/trim-" + form + '/' + shape, source,
                     [](auto library, const auto& text) { return library.trim(text); });
        addJob<Unit>("string/upper-" + form + '/' + shape, source,
                     [](auto library, const auto& text) { return library.upper(text); });
        addJob<Unit>("string/lower-" + form + '/' + shape, source,
                     [](auto library, const auto& text) { return library.lower(text); });
    }
}

const bench::Jobs jobs{[] {
    addJobs<char>("narrow");
    addJobs<WideChar>("wide");
}};

}  // namespace
