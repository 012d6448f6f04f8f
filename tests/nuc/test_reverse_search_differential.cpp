// The library's reverse NUC search against the plain entry-by-entry scan:
// result code, output and the full message list must agree for every table
// shape and every target, including exact hits, ties, near-misses within a
// few float steps of an entry and targets outside the table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "libradimo.h"
#include "reference_reverse_search.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LogCapture;
using Table = std::vector<uint16_t>;

struct Outcome {
    int rc = 0;
    uint16_t nuc = 0;
    std::vector<std::string> messages;  // printer, module, function and text (not the line)
};

Outcome run(const std::function<int(uint16_t *)> &call) {
    LogCapture log;
    Outcome out;
    out.nuc = 0xBEEF;
    out.rc = call(&out.nuc);
    for (const auto &l : log.lines()) out.messages.push_back(l.printer + " " + l.where_what());
    return out;
}

// Compares both lookups of one table and temperature; returns false on a mismatch.
bool agree(const Table &t, float temp, bool with_len) {
    const uint32_t len = static_cast<uint32_t>(t.size());
    Outcome expected;
    Outcome actual;
    if (with_len) {
        expected = run([&](uint16_t *nuc) {
            return radimo::test::reference::reverse_calc_NUC_with_nuc_t_table_len(t.data(), len, nuc, temp);
        });
        actual = run(
            [&](uint16_t *nuc) { return reverse_calc_NUC_with_nuc_t_table_len(t.data(), len, nuc, temp); });
    } else {
        expected = run([&](uint16_t *nuc) {
            return radimo::test::reference::reverse_calc_NUC_with_nuc_t(t.data(), nuc, temp);
        });
        actual = run([&](uint16_t *nuc) { return reverse_calc_NUC_with_nuc_t(t.data(), nuc, temp); });
    }
    EXPECT_EQ(actual.rc, expected.rc) << "temp " << temp << " len " << len;
    EXPECT_EQ(actual.nuc, expected.nuc) << "temp " << temp << " len " << len;
    EXPECT_EQ(actual.messages, expected.messages) << "temp " << temp << " len " << len;
    return actual.rc == expected.rc && actual.nuc == expected.nuc && actual.messages == expected.messages;
}

uint16_t to_u16(double v) {
    return static_cast<uint16_t>(std::clamp(v, 0.0, 65535.0));
}

class TableMaker {
public:
    explicit TableMaker(uint32_t seed) : rng_(seed) {}

    int uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
    double real(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(rng_); }

    // A smooth rising response with saturated (flat) runs at both ends.
    Table rising(size_t len) {
        const double lo = real(0, 30000);
        const double span = real(1, 35000);
        const double bend = real(-0.4, 0.4);
        const size_t flat_lo = static_cast<size_t>(uniform(0, 1)) * static_cast<size_t>(uniform(0, 900));
        const size_t flat_hi = static_cast<size_t>(uniform(0, 1)) * static_cast<size_t>(uniform(0, 900));
        Table t(len);
        for (size_t i = 0; i < len; ++i) {
            const size_t j = std::clamp(i, flat_lo, len - 1 - flat_hi);
            const double x = static_cast<double>(j) / static_cast<double>(len - 1);
            t[i] = to_u16(lo + span * (x + bend * x * (1 - x)));
        }
        return t;
    }

    Table falling(size_t len) {
        Table t = rising(len);
        std::reverse(t.begin(), t.end());
        return t;
    }

    // A random walk: mostly rising with back-steps, plateaus and jumps.
    Table walk(size_t len) {
        Table t(len);
        int v = uniform(0, 40000);
        const int down = uniform(0, 6);
        const int up = uniform(0, 8);
        for (size_t i = 0; i < len; ++i) {
            t[i] = static_cast<uint16_t>(std::clamp(v, 0, 65535));
            v += uniform(-down, up);
            if (uniform(0, 2000) == 0) v += uniform(-3000, 3000);
        }
        return t;
    }

    Table noise(size_t len) {
        Table t(len);
        const int lo = uniform(0, 65535);
        const int hi = std::min(65535, lo + uniform(0, 200));
        for (auto &e : t) e = static_cast<uint16_t>(uniform(lo, hi));
        return t;
    }

    Table constant(size_t len) { return Table(len, static_cast<uint16_t>(uniform(0, 65535))); }

    Table any(size_t len) {
        switch (uniform(0, 9)) {
            case 0:
            case 1:
            case 2:
                return rising(len);
            case 3:
            case 4:
                return falling(len);
            case 5:
            case 6:
                return walk(len);
            case 7:
                return noise(len);
            case 8:
                return constant(len);
            default: {
                // Extremes: a table touching 0 and 65535.
                Table t = rising(len);
                t.front() = uniform(0, 1) ? 0 : 65535;
                t.back() = uniform(0, 1) ? 65535 : 0;
                return t;
            }
        }
    }

    // Temperatures probing the table: at entries (and a few float steps
    // around them), at midpoints of neighbours, random, and out of range.
    std::vector<float> temperatures(const Table &t) {
        std::vector<float> out;
        const auto pick = [&] { return static_cast<size_t>(uniform(0, static_cast<int>(t.size()) - 2)); };
        const auto celsius = [](double units) { return static_cast<float>(units / 16.0 - 273.15); };
        for (int k = 0; k < 3; ++k) {
            const float at = celsius(t[pick()]);
            out.push_back(at);
            float up = at;
            float down = at;
            for (int s = 0; s < uniform(1, 12); ++s) {
                up = std::nextafter(up, std::numeric_limits<float>::infinity());
                down = std::nextafter(down, -std::numeric_limits<float>::infinity());
            }
            out.push_back(up);
            out.push_back(down);
        }
        for (int k = 0; k < 2; ++k) {
            const size_t i = pick();
            out.push_back(celsius((t[i] + t[i + 1]) / 2.0));
        }
        out.push_back(celsius(real(0, 65535)));
        out.push_back(celsius(real(-100, 70000)));
        out.push_back(uniform(0, 1) ? -273.15f : 4000.0f);
        return out;
    }

    std::mt19937 &rng() { return rng_; }

private:
    std::mt19937 rng_;
};

TEST(ReverseSearchDifferential, StandardTablesAgreeWithTheEntryByEntryScan) {
    TableMaker maker(20240611u);
    int mismatches = 0;
    for (int n = 0; n < 1500 && mismatches < 5; ++n) {
        const Table t = maker.any(8192);
        for (float temp : maker.temperatures(t))
            if (!agree(t, temp, maker.uniform(0, 1) == 1)) ++mismatches;
    }
    EXPECT_EQ(mismatches, 0);
}

TEST(ReverseSearchDifferential, LongTablesAgreeWithTheEntryByEntryScan) {
    TableMaker maker(777u);
    int mismatches = 0;
    for (int n = 0; n < 200 && mismatches < 5; ++n) {
        const Table t = maker.any(16384);
        for (float temp : maker.temperatures(t))
            if (!agree(t, temp, true)) ++mismatches;
    }
    EXPECT_EQ(mismatches, 0);
}

// Short structured tables embedded in flat surroundings, probed at every
// entry, every midpoint and a float step either side of each: ties, exact
// hits on plateaus, steps of one unit, and stops at block boundaries.
TEST(ReverseSearchDifferential, EveryEntryAndMidpointOfStructuredTables) {
    TableMaker maker(99u);
    int mismatches = 0;
    for (int n = 0; n < 24 && mismatches < 5; ++n) {
        Table t(8192);
        const int base = maker.uniform(0, 60000);
        const size_t at = static_cast<size_t>(maker.uniform(0, 8192 - 140));
        int v = base;
        for (size_t i = 0; i < t.size(); ++i) {
            if (i > at && i < at + 130) v += maker.uniform(n % 2 ? -2 : 0, 2);
            t[i] = static_cast<uint16_t>(std::clamp(v, 0, 65535));
        }
        for (size_t i = at; i < at + 131; i += 1 + static_cast<size_t>(n % 3)) {
            for (double units : {static_cast<double>(t[i]), (t[i] + t[i + 1]) / 2.0}) {
                const float c = static_cast<float>(units / 16.0 - 273.15);
                for (float temp : {c, std::nextafter(c, 1e9f), std::nextafter(c, -1e9f)})
                    if (!agree(t, temp, (i & 1) != 0)) ++mismatches;
            }
        }
    }
    EXPECT_EQ(mismatches, 0);
}

// Temperatures whose float target lies within a few ten-thousandths of an
// entry without equalling it: the matching tolerance decides the stop. Below
// 1024 table units the float target is fine enough for such near-misses.
std::vector<float> near_miss_temperatures(int entry) {
    std::vector<float> out;
    float temp = static_cast<float>(entry / 16.0 - 273.15);
    for (int k = 0; k < 60; ++k) temp = std::nextafter(temp, -1e9f);
    for (int k = 0; k < 120; ++k, temp = std::nextafter(temp, 1e9f)) {
        const float target = static_cast<float>((static_cast<double>(temp) + 273.15) * 16.0);
        const double off = std::fabs(static_cast<double>(target) - entry);
        if (off > 0 && off < 0.002) out.push_back(temp);
    }
    return out;
}

// A local minimum (or maximum) that the target just misses or just touches,
// with the only true crossing far behind it: a block holding the extreme must
// not be skipped when an entry is within the tolerance of the target.
TEST(ReverseSearchDifferential, NearMissesAtLocalExtremes) {
    TableMaker maker(4242u);
    int mismatches = 0;
    int probes = 0;
    for (int n = 0; n < 40 && mismatches < 5; ++n) {
        const int extreme = maker.uniform(200, 1000);
        const size_t at = static_cast<size_t>(maker.uniform(1, 7000));
        const bool minimum = n % 2 == 0;
        Table t(8192);
        for (size_t i = 0; i < t.size(); ++i) {
            const int dist = static_cast<int>(i > at ? i - at : at - i);
            const int v = minimum ? extreme + std::min(dist, 300) : extreme - std::min(dist, 150);
            t[i] = static_cast<uint16_t>(v);
        }
        // The far end crosses the extreme's level so the scan has a later stop.
        t.back() = minimum ? 0 : 2000;
        const int len_choice = maker.uniform(0, 1);
        for (float temp : near_miss_temperatures(extreme)) {
            ++probes;
            if (!agree(t, temp, len_choice == 1)) ++mismatches;
        }
    }
    EXPECT_GT(probes, 40);
    EXPECT_EQ(mismatches, 0);
}

TEST(ReverseSearchDifferential, SpecialTemperaturesAgree) {
    TableMaker maker(5u);
    const float specials[] = {std::numeric_limits<float>::quiet_NaN(),
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::max(),
                              -std::numeric_limits<float>::max(),
                              0.0f,
                              -0.0f,
                              -273.15f,
                              -274.0f};
    for (int n = 0; n < 20; ++n) {
        const Table t = maker.any(n % 4 == 0 ? 16384 : 8192);
        for (float temp : specials) agree(t, temp, t.size() == 16384 || n % 2 == 1);
    }
}

}  // namespace
