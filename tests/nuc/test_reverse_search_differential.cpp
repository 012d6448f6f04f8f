// The library's reverse NUC search against the entry-by-entry reference scan:
// result code, output and every message (printer, module, function, text) must
// agree for every table shape and target: exact hits, ties, near-misses a few
// float steps from an entry, and targets outside the table.
#include <limits>
#include <random>

#include "reference_reverse_search.h"
#include "support/prelude.h"

namespace {

using Table = std::vector<uint16_t>;
using Plain = int (*)(const uint16_t *, uint16_t *, float);
using WithLen = int (*)(const uint16_t *, uint32_t, uint16_t *, float);

struct Outcome {
    int rc = 0;
    uint16_t nuc = 0xBEEF;
    std::vector<std::string> messages;
    bool operator==(const Outcome &) const = default;
};

Outcome run(const Table &t, float temp, bool with_len, Plain plain, WithLen len_form) {
    radimo::test::LogCapture log;
    Outcome out;
    out.rc = with_len ? len_form(t.data(), static_cast<uint32_t>(t.size()), &out.nuc, temp)
                      : plain(t.data(), &out.nuc, temp);
    out.messages = log.printed();
    return out;
}

bool agree(const Table &t, float temp, bool with_len) {
    namespace ref = radimo::test::reference;
    const Outcome want =
        run(t, temp, with_len, ref::reverse_calc_NUC_with_nuc_t, ref::reverse_calc_NUC_with_nuc_t_table_len);
    const Outcome got =
        run(t, temp, with_len, reverse_calc_NUC_with_nuc_t, reverse_calc_NUC_with_nuc_t_table_len);
    EXPECT_TRUE(got == want) << "temp " << temp << " len " << t.size() << ": rc " << got.rc << " vs "
                             << want.rc << ", nuc " << got.nuc << " vs " << want.nuc << ", messages\n"
                             << testing::PrintToString(got.messages) << "\nvs\n"
                             << testing::PrintToString(want.messages);
    return got == want;
}

float celsius(double units) {
    return static_cast<float>(units / 16.0 - 273.15);
}

float ulps(float v, int n) {
    for (; n > 0; --n) v = std::nextafter(v, 1e9f);
    for (; n < 0; ++n) v = std::nextafter(v, -1e9f);
    return v;
}

struct Maker {
    std::mt19937 rng;
    int uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

    // Rising or falling curves with flat ends, random walks with plateaus and
    // back-steps, narrow noise, constants, and tables touching 0 and 65535.
    Table table(size_t len) {
        Table t(len);
        const int kind = uniform(0, 5);
        const double lo = uniform(0, 30000), span = uniform(1, 35000), bend = uniform(-40, 40) / 100.0;
        const size_t flat_lo = uniform(0, 1) * uniform(0, 900), flat_hi = uniform(0, 1) * uniform(0, 900);
        int v = uniform(0, 40000);
        const int down = uniform(0, 6), up = uniform(0, 8), base = uniform(0, 65535);
        for (size_t i = 0; i < len; ++i) {
            const double x = std::clamp(i, flat_lo, len - 1 - flat_hi) / static_cast<double>(len - 1);
            if (kind <= 2)
                t[i] = static_cast<uint16_t>(std::min(65535.0, lo + span * (x + bend * x * (1 - x))));
            if (kind == 3) t[i] = static_cast<uint16_t>(std::clamp(v += uniform(-down, up), 0, 65535));
            if (kind == 4) t[i] = static_cast<uint16_t>(std::min(65535, base + uniform(0, 200)));
            if (kind == 5) t[i] = static_cast<uint16_t>(base);
        }
        if (kind == 1) std::reverse(t.begin(), t.end());
        if (kind == 2) t.front() = uniform(0, 1) ? 0 : 65535, t.back() = uniform(0, 1) ? 65535 : 0;
        return t;
    }

    // At entries and midpoints and a few float steps either side, random, out of range.
    std::vector<float> temperatures(const Table &t) {
        std::vector<float> out{celsius(uniform(0, 65535)), celsius(uniform(-100, 70000)), -273.15f, 4000.0f};
        for (int k = 0; k < 3; ++k) {
            const size_t i = uniform(0, static_cast<int>(t.size()) - 2);
            const int steps = uniform(1, 12);
            for (float c : {celsius(t[i]), celsius((t[i] + t[i + 1]) / 2.0)})
                out.insert(out.end(), {c, ulps(c, steps), ulps(c, -steps)});
        }
        return out;
    }
};

TEST(ReverseSearchDifferential, RandomTablesOfBothLengths) {
    Maker maker{std::mt19937(20240611u)};
    const float inf = std::numeric_limits<float>::infinity();
    int mismatches = 0;
    for (int n = 0; n < 1500 && mismatches < 5; ++n) {
        const Table t = maker.table(n % 5 == 0 ? 16384 : 8192);
        std::vector<float> temps = maker.temperatures(t);
        if (n % 50 == 0) temps.insert(temps.end(), {std::nanf(""), inf, -inf, 3e38f, -3e38f, -0.0f});
        for (float temp : temps) mismatches += !agree(t, temp, t.size() == 16384 || n % 2);
    }
}

// Local extremes that the target just misses or touches (within 0.002 of an
// entry below 1024 units, where floats are fine enough), with the only true
// crossing at the far end: a block holding the extreme must not be skipped.
TEST(ReverseSearchDifferential, NearMissesAtLocalExtremes) {
    Maker maker{std::mt19937(4242u)};
    int probes = 0;
    for (int n = 0; n < 40; ++n) {
        const int extreme = maker.uniform(200, 1000), at = maker.uniform(1, 7000);
        Table t(8192);
        for (int i = 0; i < 8192; ++i)
            t[i] = static_cast<uint16_t>(n % 2 ? extreme - std::min(std::abs(i - at), 150)
                                               : extreme + std::min(std::abs(i - at), 300));
        t.back() = n % 2 ? 2000 : 0;
        for (int k = -60; k < 60; ++k) {
            const float temp = ulps(celsius(extreme), k);
            const double off = std::fabs(static_cast<float>((temp + 273.15) * 16.0) - extreme);
            if (off > 0 && off < 0.002) probes += agree(t, temp, n % 4 < 2);
        }
    }
    EXPECT_GT(probes, 40);
}

}  // namespace
