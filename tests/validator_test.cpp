#include <climits>
#include <ctime>
#include <tuple>

#include "moraine/util/validator/GenericValidator.h"

#include "xml_support.h"

namespace moraine::test {
namespace {

using Validator = util::validator::GenericValidator;

TEST(GenericValidator, PlaceOfTheFirstStranger) {
    const WideString digits = u"0123456789", letters = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    WideString ascii(127, 0);
    std::generate(ascii.begin(), ascii.end(), [unit = 0]() mutable { return static_cast<WideChar>(++unit); });
    const std::tuple<int (Validator::*)(const char*), int (Validator::*)(const WideChar*), WideString> checks[] = {
        {&Validator::isNumber, &Validator::isNumberW, digits},
        {&Validator::isAlphabet, &Validator::isAlphabetW, letters},
        {&Validator::isAscii, &Validator::isAsciiW, ascii},
        {&Validator::isAlphaAndNum, &Validator::isAlphaAndNumW, digits + letters}};
    for (const auto& [narrow, wide, members] : checks) {
        EXPECT_EQ((Validator().*narrow)("") + (Validator().*wide)(u""), -2);
        for (unsigned int unit = 1; unit <= 0xFFFF; ++unit) {
            const WideString text = members + static_cast<WideChar>(unit), twice = text + text;
            const int place = members.find(text.back()) < members.size() ? -1 : static_cast<int>(members.size());
            ASSERT_EQ((Validator().*wide)(twice.c_str()), place) << unit;
            ASSERT_TRUE(unit > 0xFF || (Validator().*narrow)(bytesOf(twice).c_str()) == place) << unit;
        }
    }
}

TEST(GenericValidator, RangesDatesAndAddresses) {
    Validator v;
    EXPECT_TRUE(v.isRange(1, 5, 1) && v.isRange(1, 5, 5) && v.isRange(-5, -1, -3) && v.isRange(LONG_MIN, 0, LONG_MIN));
    EXPECT_FALSE(v.isRange(1, 5, 0) || v.isRange(1, 5, 6) || v.isRange(5, 1, 3) || v.isRange(LONG_MIN, -1, LONG_MAX));
    for (const int year : {-400, -100, -4, -1, 0, 1, 1900, 1970, 2000, 2023, 2024, 2100, 2200, INT_MAX, INT_MAX - 3}) {
        for (int month = -1, day = -1; month <= 14; day = day == 40 ? ++month, -1 : day + 1) {
            std::tm kept{};  // the system's calendar carries what is too much for a month or a year
            std::tie(kept.tm_year, kept.tm_mon, kept.tm_mday) = std::tuple(year - 1900, month - 1, day);
            ::timegm(&kept);
            const bool isKept = kept.tm_mon == month - 1 && kept.tm_mday == day;
            EXPECT_EQ(v.isDate(year, month, day), isKept) << year << '-' << month << '-' << day;
        }
        EXPECT_EQ(v.isLeapYear(year), v.isDate(year, 2, 29)) << year;
    }
    const auto groups = cellsOf(1, R"(\e  0  01  192  999  1000  0000  a  -1  1\s  1.2  \u00B2)");  // five good ones
    for (std::size_t i = 0; i < 12 * 12 * 12 * 12; ++i) {
        const std::size_t a = i % 12, b = i / 12 % 12, c = i / 144 % 12, d = i / 1728;
        const WideString text = groups[a] + u"." + groups[b] + u"." + groups[c] + u"." + groups[d];
        ASSERT_EQ(v.isIPv4Address(bytesOf(text).c_str()), std::max({a, b, c, d}) < 5 && d > 0) << bytesOf(text);
        ASSERT_EQ(v.isIPv4AddressW(text.c_str()), std::max({a, b, c, d}) < 5 && d > 0) << bytesOf(text);
    }
    EXPECT_FALSE(v.isIPv4Address("") || v.isIPv4Address("1.2.3") || v.isIPv4Address("1234") || v.isIPv4AddressW(u"."));
}

}  // namespace
}  // namespace moraine::test
