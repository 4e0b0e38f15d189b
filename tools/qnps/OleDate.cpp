#include "OleDate.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qnps {
namespace {

constexpr long long kOleEpochFromUnix = -25569;  // 1899-12-30 counted from 1970-01-01
constexpr int kSecondsPerDay = 86400;

// Days from 1970-01-01 of a proleptic Gregorian date (H. Hinnant's civil calendar arithmetic).
long long DaysFromCivil(long long y, unsigned m, unsigned d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
}

void CivilFromDays(long long z, long long& y, unsigned& m, unsigned& d) {
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = doy - (153 * mp + 2) / 5 + 1;
    m = mp < 10 ? mp + 3 : mp - 9;
    y = static_cast<long long>(yoe) + era * 400 + (m <= 2);
}

std::string ShortestText(double value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

// a * b == product + error exactly (Dekker), without relying on a fused multiply-add.
double ExactProduct(double a, double b, double& error) {
    auto split = [](double x, double& high, double& low) {
        const double c = 134217729.0 * x;  // 2^27 + 1
        high = c - (c - x);
        low = x - high;
    };
    double aHigh, aLow, bHigh, bLow;
    split(a, aHigh, aLow);
    split(b, bHigh, bLow);
    const double product = a * b;
    error = ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow;
    return product;
}

bool SameDouble(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Reads exactly `count` digits.
bool Digits(std::string_view text, size_t at, size_t count, unsigned& value) {
    if (at + count > text.size()) return false;
    value = 0;
    for (size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = value * 10 + static_cast<unsigned>(text[i] - '0');
    }
    return true;
}

}  // namespace

std::string OleDate::ToText(double days) {
    const std::string fallback = ShortestText(days);
    if (!std::isfinite(days) || (days < 0 && days > -1) || (days == 0 && std::signbit(days)))
        return fallback;
    const double whole = std::trunc(days);
    const double fraction = std::fabs(days - whole);  // exact: both share the value's binary scale
    long long year;
    unsigned month, day;
    CivilFromDays(static_cast<long long>(whole) + kOleEpochFromUnix, year, month, day);
    if (year < 1 || year > 9999) return fallback;

    // The exact seconds of the fraction: an integer times a power of two, expanded in decimal.
    std::string digits;
    unsigned long long seconds = 0;
    if (fraction > 0) {
        const int scale = std::ilogb(days) - 52;  // the value's last binary place
        const auto units = static_cast<unsigned long long>(std::ldexp(fraction, -scale));
        const int shift = -(scale + 7);           // 86400 = 675 * 2^7
        if (shift > 120) return fallback;
        unsigned __int128 rest = static_cast<unsigned __int128>(units) * 675;
        const unsigned __int128 mask = (static_cast<unsigned __int128>(1) << shift) - 1;
        seconds = static_cast<unsigned long long>(rest >> shift);
        rest &= mask;
        while (rest != 0) {
            rest *= 10;
            digits.push_back(static_cast<char>('0' + static_cast<int>(rest >> shift)));
            rest &= mask;
        }
    }

    // The fewest fractional digits, rounded half up, that parse back to the same value.
    for (size_t count = 0; count <= digits.size(); ++count) {
        std::string kept = digits.substr(0, count);
        unsigned long long total = seconds;
        if (count < digits.size() && digits[count] >= '5') {
            size_t i = count;
            while (i > 0 && kept[i - 1] == '9') kept[--i] = '0';
            if (i == 0) ++total;
            else ++kept[i - 1];
        }
        if (total >= kSecondsPerDay) continue;
        char head[48];
        std::snprintf(head, sizeof head, "%04lld-%02u-%02uT%02llu:%02llu:%02llu", year, month, day,
                      total / 3600, total / 60 % 60, total % 60);
        std::string text = head;
        if (!kept.empty()) text += "." + kept;
        const auto back = ParseIso(text);
        if (back && SameDouble(*back, days)) return text;
    }
    return fallback;
}

std::optional<double> OleDate::ParseIso(std::string_view text) {
    unsigned year, month, day, hour = 0, minute = 0, second = 0;
    if (!Digits(text, 0, 4, year) || text.size() < 10 || text[4] != '-' || !Digits(text, 5, 2, month) ||
        text[7] != '-' || !Digits(text, 8, 2, day))
        return std::nullopt;
    static constexpr unsigned kMonthDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    if (year < 1 || month < 1 || month > 12 || day < 1 || day > kMonthDays[month - 1] ||
        (month == 2 && day == 29 && !leap))
        return std::nullopt;
    std::string_view fraction;
    if (text.size() > 10) {
        if (text[10] != 'T' || !Digits(text, 11, 2, hour) || text.size() < 16 || text[13] != ':' ||
            !Digits(text, 14, 2, minute))
            return std::nullopt;
        if (text.size() > 16) {
            if (text[16] != ':' || !Digits(text, 17, 2, second)) return std::nullopt;
            if (text.size() > 19) {
                fraction = text.substr(19);
                if (fraction.size() < 2 || fraction[0] != '.' ||
                    fraction.find_first_not_of("0123456789", 1) != std::string_view::npos)
                    return std::nullopt;
            }
        }
        if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
    }
    const long long whole = DaysFromCivil(year, month, day) - kOleEpochFromUnix;
    // The seconds as a sum of two doubles (the whole seconds exact, the fraction correctly rounded)
    // and the quotient corrected by its exact remainder: within a small part of the last place,
    // so that the writer finds digits that give each value back.
    const double wholeSeconds = hour * 3600.0 + minute * 60.0 + second;
    double fractionValue = 0;
    if (!fraction.empty()) {
        const std::string decimal = "0" + std::string(fraction);
        std::from_chars(decimal.data(), decimal.data() + decimal.size(), fractionValue);
    }
    const double sum = wholeSeconds + fractionValue;
    const double sumError = fractionValue - (sum - wholeSeconds);
    double part = sum / kSecondsPerDay;
    double productError;
    const double product = ExactProduct(part, kSecondsPerDay, productError);
    part += ((sum - product) - productError + sumError) / kSecondsPerDay;
    return whole < 0 ? static_cast<double>(whole) - part : static_cast<double>(whole) + part;
}

std::optional<double> OleDate::Parse(std::string_view text) {
    if (auto iso = ParseIso(text)) return iso;
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace qnps
