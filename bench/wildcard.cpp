#include <benchmark/benchmark.h>
#include <fnmatch.h>
#include <moraine/text/Wildcard.h>

#include <string>
#include <vector>

#include "bench.h"

#ifdef BENCH_HAVE_QT
#include <QRegularExpression>
#endif

using moraine::WideString;
using moraine::text::Wildcard;

namespace {

constexpr std::size_t textSize = 1024;
constexpr int rounds = 100;  // in one run, so that the frame's own time does not count

struct Row {
    std::string name;
    std::string text;
    std::string pattern;
};

/// Letters and digits that repeat late.
std::string makeText() {
    std::string text;
    for (unsigned int number = 1; text.size() < textSize; number = number * 1103515245 + 12345) {
        text += "abcdefgh01234567"[number >> 16 & 15];
    }
    return text;
}

/// The text with every eighth unit behind `from` that is a digit, or any, given as a metacharacter.
std::string masked(std::string text, char metacharacter, bool onlyDigits) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (onlyDigits ? isDigit : i % 8 == 7) {
            text[i] = metacharacter;
        }
    }
    return text;
}

/// The pattern as another language writes it: `#` is a set of digits.
std::string rewritten(const std::string& pattern, const char* any, const char* one) {
    std::string result;
    for (const char c : pattern) {
        switch (c) {
            case '#':
                result += "[0-9]";
                break;
            case '*':
                result += any;
                break;
            case '?':
                result += one;
                break;
            default:
                result += c;
                break;
        }
    }
    return result;
}

/// A column of a test that is done many times.
template <class Test>
bench::Column repeated(const char* name, Test test) {
    return {name, [=] { return std::string(test() ? "match" : "no match"); },
            [=] {
                for (int i = 0; i < rounds; ++i) {
                    benchmark::DoNotOptimize(test());
                }
            }};
}

void addJob(const Row& row) {
    const auto& [name, text, pattern] = row;
    const WideString wideText(text.begin(), text.end());
    const WideString widePattern(pattern.begin(), pattern.end());
    const std::string fnmatchPattern = rewritten(pattern, "*", "?");
    std::vector<bench::Column> columns{
        repeated("moraine", [=] { return Wildcard().isMatch(text.c_str(), pattern.c_str()); }),
        repeated("moraine wide", [=] { return Wildcard().isMatchW(wideText.c_str(), widePattern.c_str()); }),
        repeated("fnmatch", [=] { return ::fnmatch(fnmatchPattern.c_str(), text.c_str(), 0) == 0; })};
#ifdef BENCH_HAVE_QT
    const auto anchored = QRegularExpression::anchoredPattern(QString::fromStdString(rewritten(pattern, ".*?", ".")));
    const QRegularExpression expression(anchored, QRegularExpression::DotMatchesEverythingOption);
    expression.optimize();
    columns.push_back(repeated("QRegularExpression", [expression, input = QString::fromStdString(text)] {
        return expression.match(input).hasMatch();
    }));
#endif
    bench::job("wildcard/" + name, textSize * rounds, columns);
}

const bench::Jobs jobs{[] {
    const std::string text = makeText();
    const std::string head = text.substr(0, 12);
    const std::string tail = text.substr(textSize - 12);
    addJob({"literal", text, text});
    addJob({"question", text, masked(text, '?', false)});
    addJob({"number", text, masked(text, '#', true)});
    addJob({"head-tail", text, head + '*' + tail});
    addJob({"mid-late", text, '*' + text.substr(textSize / 2, 6) + '*' + text.substr(textSize * 9 / 10, 6) + '*'});
}};

}  // namespace
