// ems_table_gen: derives libradimo's emissivity compatibility tables and
// writes them as the C++ source src/radiometry/ems_tables.cpp.
//
//   ems_table_gen [--report] [output-path]
//
// Without a path the source goes to standard output. --report lists, on
// standard error, how far the model lies from each pinned calibration cell.
//
// The model (our own derivation)
// ------------------------------
// The camera integrates radiance over its band, 7.9 .. 14.2 um, and its
// temperature arithmetic treats a grey body with the fourth-power law. A
// corrected emissivity e' makes the fourth-power balance agree with the band
// balance:
//
//   L(T)  = integral over 7.9 .. 14.2 um of l^-5 / (exp(c2 / (l T)) - 1) dl,
//           c2 = 14387.77 um K (the first radiation constant cancels);
//   Ta    = apparent temperature the camera measures as a black body (row);
//   Tu    = reflected temperature, a fixed reference of 298.15 K;
//   e     = emissivity set by the user (column);
//   Lo    = (L(Ta) - (1 - e) L(Tu)) / e, band radiance of the object;
//   To    = L^-1(Lo), the object temperature (bisection, L is monotonic);
//   e'    = (Ta^4 - Tu^4) / (To^4 - Tu^4).
//
// At Ta = Tu both differences vanish; the limit of the ratio is e, which the
// generator uses within a millikelvin of Tu. Cells are rounded half away from
// zero to 2 decimals (v1) or 4 decimals (v2) and capped at the column's
// emissivity: near ambient the band and fourth-power balances differ by a few
// 1e-4 in the other direction, and the tables never raise an emissivity.
// Finally, a handful of cells are pinned to the product's calibration values.
//
// L is integrated with composite Gauss-Legendre quadrature (8 panels of 16
// nodes; the integrand is smooth, so the result is exact to rounding). All
// axes are built from integers, so the output is the same on every build.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr double kC2 = 14387.77;        // second radiation constant, um K
constexpr double kBandLow = 7.9;        // um
constexpr double kBandHigh = 14.2;      // um
constexpr double kReflected = 298.15;   // K, reference reflected temperature
constexpr double kAmbientLimit = 1e-3;  // K, |Ta - Tu| below which e' = e
constexpr int kPanels = 8;
constexpr int kNodes = 16;
constexpr int kPerLine = 10;  // cells per line of the emitted source

// The band quadrature: Gauss-Legendre nodes on [-1, 1] (Newton's method on
// P_n) mapped onto kPanels panels of the band, with the wavelength terms of
// the integrand folded into the weights: L(T) = sum of weight_i / expm1(x_i / T).
struct BandQuadrature {
    double weight[kPanels * kNodes];
    double exponent[kPanels * kNodes];  // c2 / l, K

    BandQuadrature() {
        double node[kNodes];
        double node_weight[kNodes];
        for (int i = 0; i < kNodes; ++i) {
            double x = std::cos(std::numbers::pi * (i + 0.75) / (kNodes + 0.5));
            double derivative = 1.0;
            for (int iteration = 0; iteration < 100; ++iteration) {
                double p0 = 1.0;
                double p1 = x;
                for (int k = 2; k <= kNodes; ++k) {
                    const double p2 = ((2 * k - 1) * x * p1 - (k - 1) * p0) / k;
                    p0 = p1;
                    p1 = p2;
                }
                derivative = kNodes * (x * p1 - p0) / (x * x - 1.0);
                const double step = p1 / derivative;
                x -= step;
                if (std::fabs(step) < 1e-16) break;
            }
            node[i] = x;
            node_weight[i] = 2.0 / ((1.0 - x * x) * derivative * derivative);
        }
        const double width = (kBandHigh - kBandLow) / kPanels;
        for (int p = 0; p < kPanels; ++p) {
            const double mid = kBandLow + (p + 0.5) * width;
            for (int i = 0; i < kNodes; ++i) {
                const double l = mid + 0.5 * width * node[i];
                weight[p * kNodes + i] = 0.5 * width * node_weight[i] / std::pow(l, 5);
                exponent[p * kNodes + i] = kC2 / l;
            }
        }
    }
};

const BandQuadrature &band_quadrature() {
    static const BandQuadrature q;
    return q;
}

// Band radiance without the first radiation constant.
double band_radiance(double t) {
    const BandQuadrature &q = band_quadrature();
    double sum = 0.0;
    for (int i = 0; i < kPanels * kNodes; ++i) sum += q.weight[i] / std::expm1(q.exponent[i] / t);
    return sum;
}

// Temperature whose band radiance is `radiance`: bisection on a wide bracket,
// 64 halvings take it to the resolution of a double.
double inverse_band_radiance(double radiance) {
    double low = 10.0;
    double high = 10000.0;
    for (int iteration = 0; iteration < 64; ++iteration) {
        const double mid = 0.5 * (low + high);
        if (band_radiance(mid) < radiance) {
            low = mid;
        } else {
            high = mid;
        }
    }
    return 0.5 * (low + high);
}

// Corrected emissivity of the model for apparent temperature ta and user emissivity e.
double model_emissivity(double ta, double e) {
    if (std::fabs(ta - kReflected) < kAmbientLimit) return e;
    const double object_radiance = (band_radiance(ta) - (1.0 - e) * band_radiance(kReflected)) / e;
    if (!(object_radiance > 0.0)) {
        std::fprintf(stderr, "ems_table_gen: no object temperature for Ta=%.2f e=%.4f\n", ta, e);
        std::exit(2);
    }
    const double to = inverse_band_radiance(object_radiance);
    const double tu4 = std::pow(kReflected, 4);
    return (std::pow(ta, 4) - tu4) / (std::pow(to, 4) - tu4);
}

// One table: temperatures in 1/100 K, emissivities and cells in 1/scale.
struct Table {
    const char *name = nullptr;
    const char *axes_comment = nullptr;
    long scale = 1;  // 100 or 10000
    int decimals = 0;
    std::vector<long> temps_centi_k;
    std::vector<long> ems;      // in 1/scale
    std::vector<double> model;  // unrounded model values
    std::vector<long> cells;    // final values in 1/scale
};

// Cells the product's calibration fixes; they override the model.
struct Pinned {
    int version;
    int row;
    int first_col;
    std::vector<long> values;  // in 1/scale of the table
};

// The product's calibration values for these cells (v1 row 223.15 K, the
// tail of v1 row 1073.15 K, the head of v2 row 223.15 K and the tail of v2
// row 1823.15 K). They are authoritative over the model.
const Pinned kPinned[] = {
    {1, 0, 0, {75, 77, 79, 80, 81, 83, 84, 85, 86, 88, 89, 90, 91, 92, 93, 94, 96, 97, 98, 99}},
    {1, 85, 10, {80, 81, 83, 85, 87, 90, 92, 94, 96, 98}},
    {2, 0, 0, {7535, 7569, 7603, 7635, 7668, 7700}},
    {2, 80, 97, {9838, 9892, 9946}},
};

Table make_v1() {
    Table t;
    t.name = "ems_correct_table_v1";
    t.axes_comment = "86 rows: 223.15 K .. 1073.15 K step 10; 20 columns: 0.80 .. 0.99 step 0.01";
    t.scale = 100;
    t.decimals = 2;
    for (int k = 0; k < 86; ++k) t.temps_centi_k.push_back(22315 + 1000L * k);
    for (int i = 0; i < 20; ++i) t.ems.push_back(80 + i);
    return t;
}

Table make_v2() {
    Table t;
    t.name = "ems_correct_table_v2";
    t.axes_comment =
        "81 rows: 223.15 K .. 823.15 K step 10, 873.15 K .. 1823.15 K step 50; "
        "100 columns: 0.800 .. 0.998 step 0.002";
    t.scale = 10000;
    t.decimals = 4;
    for (int k = 0; k <= 60; ++k) t.temps_centi_k.push_back(22315 + 1000L * k);
    for (int k = 0; k < 20; ++k) t.temps_centi_k.push_back(87315 + 5000L * k);
    for (int i = 0; i < 100; ++i) t.ems.push_back(8000 + 20L * i);
    return t;
}

void fill(Table &t) {
    const size_t cols = t.ems.size();
    for (size_t r = 0; r < t.temps_centi_k.size(); ++r) {
        const double ta = static_cast<double>(t.temps_centi_k[r]) / 100.0;
        for (size_t c = 0; c < cols; ++c) {
            const double e = static_cast<double>(t.ems[c]) / static_cast<double>(t.scale);
            const double v = model_emissivity(ta, e);
            long units = std::lround(v * static_cast<double>(t.scale));
            if (units > t.ems[c]) units = t.ems[c];
            t.model.push_back(v);
            t.cells.push_back(units);
        }
    }
}

void pin(Table &v1, Table &v2, bool report) {
    if (report) std::fprintf(stderr, "table row col   pinned   model(raw)  model(rounded)  pinned-raw\n");
    for (const Pinned &p : kPinned) {
        Table &t = p.version == 1 ? v1 : v2;
        const size_t cols = t.ems.size();
        for (size_t j = 0; j < p.values.size(); ++j) {
            const size_t at = static_cast<size_t>(p.row) * cols + static_cast<size_t>(p.first_col) + j;
            const double pinned = static_cast<double>(p.values[j]) / static_cast<double>(t.scale);
            if (report) {
                std::fprintf(stderr, "v%d   %3d %3zu   %.*f   %.7f   %.*f%s      %+.7f\n", p.version, p.row,
                             p.first_col + j, t.decimals, pinned, t.model[at], t.decimals,
                             static_cast<double>(t.cells[at]) / static_cast<double>(t.scale),
                             t.cells[at] == p.values[j] ? " " : "*", pinned - t.model[at]);
            }
            t.cells[at] = p.values[j];
        }
    }
}

std::string decimal(long units, long scale, int decimals) {
    char text[32];
    std::snprintf(text, sizeof text, "%ld.%0*ld", units / scale, decimals, units % scale);
    return text;
}

void emit_table(std::string &out, const Table &t) {
    const size_t rows = t.temps_centi_k.size();
    const size_t cols = t.ems.size();
    out += "// " + std::string(t.axes_comment) + ".\n";
    out += "double " + std::string(t.name) + "[" + std::to_string(rows * cols) + "] = {\n";
    for (size_t r = 0; r < rows; ++r) {
        out += "    // " + decimal(t.temps_centi_k[r], 100, 2) + " K\n";
        for (size_t c = 0; c < cols; c += static_cast<size_t>(kPerLine)) {
            out += "   ";
            for (size_t j = c; j < c + static_cast<size_t>(kPerLine) && j < cols; ++j) {
                out += " " + decimal(t.cells[r * cols + j], t.scale, t.decimals) + ",";
            }
            out += "\n";
        }
    }
    out += "};\n";
}

std::string render(const Table &v1, const Table &v2) {
    std::string out;
    out +=
        "// Emissivity compatibility tables: the corrected emissivity by target\n"
        "// temperature (row) and user emissivity (column), element [row * columns + column].\n"
        "//\n"
        "// GENERATED by tools/ems_table_gen from a band-radiance model with a few\n"
        "// cells pinned to calibration values. Do not edit by hand: change the\n"
        "// generator and rebuild the target ems_tables_regenerate.\n"
        "#include \"libradimo.h\"\n"
        "\n"
        "// clang-format off\n"
        "extern \"C\" {\n"
        "\n";
    emit_table(out, v1);
    out += "\n";
    emit_table(out, v2);
    out +=
        "\n"
        "}  // extern \"C\"\n"
        "// clang-format on\n";
    return out;
}

}  // namespace

int main(int argc, char **argv) {
    bool report = false;
    const char *path = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--report") == 0) {
            report = true;
        } else if (path == nullptr && argv[i][0] != '-') {
            path = argv[i];
        } else {
            std::fprintf(stderr, "usage: %s [--report] [output-path]\n", argv[0]);
            return 1;
        }
    }

    Table v1 = make_v1();
    Table v2 = make_v2();
    fill(v1);
    fill(v2);
    pin(v1, v2, report);
    const std::string text = render(v1, v2);

    FILE *out = path != nullptr ? std::fopen(path, "wb") : stdout;
    if (out == nullptr) {
        std::fprintf(stderr, "ems_table_gen: cannot open %s\n", path);
        return 1;
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), out) == text.size();
    const bool closed = path != nullptr ? std::fclose(out) == 0 : std::fflush(out) == 0;
    if (!written || !closed) {
        std::fprintf(stderr, "ems_table_gen: cannot write the tables\n");
        return 1;
    }
    return 0;
}
