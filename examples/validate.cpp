// Checks texts: are they numbers, dates, addresses?

#include <functional>
#include <map>

#include "moraine/util/validator/GenericValidator.h"

#include "streams.h"

namespace {

using moraine::WideString;
using moraine::util::validator::GenericValidator;

constexpr const char* usage = "usage: validate KIND [TEXT...]\n"
                              "\n"
                              "Checks each TEXT, or each line of standard input when there is none, and prints the\n"
                              "verdict. The status is 0 if all are valid, and 1 otherwise. KIND is one of\n"
                              "\n"
                              "  digits    0 to 9 and nothing else\n"
                              "  letters   a to z and A to Z\n"
                              "  alnum     digits and letters\n"
                              "  ascii     characters below 128\n"
                              "  date      a day of the calendar: YEAR-MONTH-DAY\n"
                              "  port      a number from 1 to 65535\n"
                              "  ipv4      the shape of an IPv4 address, whose numbers are not looked at\n"
                              "\n"
                              "An empty text has no character that could be wrong: it is valid for the first four.\n"
                              "\n"
                              "  --help    print this text\n";

/// What is wrong with a text; empty if nothing is.
using Check = std::function<std::string(const WideString& text)>;

/// A check of characters. The validator tells the place of the first that does not belong; -1 means that all do, and 0
/// that already the first one does not.
Check ofCharacters(int (GenericValidator::*check)(const moraine::WideChar*)) {
    return [check](const WideString& text) {
        const int place = (GenericValidator().*check)(text.c_str());
        return place == -1 ? "" : "character " + std::to_string(place + 1) + " does not belong";
    };
}

std::string verdict(bool isValid, const char* otherwise) {
    return isValid ? "" : otherwise;
}

/// The number that a text of up to 9 digits spells, or -1.
int numberIn(const WideString& text) {
    const bool isNumber = !text.empty() && text.size() <= 9 && GenericValidator().isNumberW(text.c_str()) == -1;
    return isNumber ? static_cast<int>(moraine::text::decimalValue(text.data(), text.size())) : -1;
}

std::string checkDate(const WideString& text) {
    const std::size_t first = text.find(u'-');
    const std::size_t second = text.find(u'-', first + 1);
    if (first == WideString::npos || second == WideString::npos) {
        return "not YEAR-MONTH-DAY";
    }
    const int year = numberIn(text.substr(0, first));
    const int month = numberIn(text.substr(first + 1, second - first - 1));
    const int day = numberIn(text.substr(second + 1));
    return verdict(year >= 0 && GenericValidator().isDate(year, month, day), "no day of the calendar");
}

std::string checkPort(const WideString& text) {
    return verdict(GenericValidator().isRange(1, 65535, numberIn(text)), "not from 1 to 65535");
}

std::string checkAddress(const WideString& text) {
    return verdict(GenericValidator().isIPv4AddressW(text.c_str()), "not four groups of digits");
}

const Check& checkFor(const std::string& kind) {
    static const std::map<std::string, Check> checks = {{"digits", ofCharacters(&GenericValidator::isNumberW)},
                                                        {"letters", ofCharacters(&GenericValidator::isAlphabetW)},
                                                        {"alnum", ofCharacters(&GenericValidator::isAlphaAndNumW)},
                                                        {"ascii", ofCharacters(&GenericValidator::isAsciiW)},
                                                        {"date", checkDate},
                                                        {"port", checkPort},
                                                        {"ipv4", checkAddress}};
    const auto found = checks.find(kind);
    if (found == checks.end()) {
        throw console::Misuse("there is no kind '" + kind + "'");
    }
    return found->second;
}

/// Prints the verdict; true for a valid text.
bool tell(const Check& check, const std::string& text) {
    const std::string fault = check(console::wide(text));
    std::printf("%s: %s\n", text.c_str(), fault.empty() ? "valid" : fault.c_str());
    return fault.empty();
}

int program(const console::CommandLine& line) {
    line.expectWords(1, std::numeric_limits<std::size_t>::max());
    const Check& check = checkFor(line.words[0]);
    bool allValid = true;
    for (std::size_t i = 1; i < line.words.size(); ++i) {
        allValid = tell(check, line.words[i]) && allValid;
    }
    if (line.words.size() == 1) {
        console::StandardInput in;
        console::Lines lines(in);
        for (std::string text; lines.next(text);) {
            allValid = tell(check, text) && allValid;
        }
    }
    return allValid ? console::done : console::failed;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {}, program);
}
