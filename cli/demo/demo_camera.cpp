#include "demo/demo_camera.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "core/errors.h"
#include "libradimo.h"
#include "tau_model.h"

namespace radimo::cli::demo {
namespace {

namespace model = radimo::tau_model;

constexpr nuc_factor_t kNucFactor{-5645, 9300000, 104858};
constexpr int kEntries = 1201;
constexpr double kKelvin = 273.15;

// Ideal corrected response of an apparent temperature, the NUC factor evaluated exactly.
double ideal_nuc(double apparent_celsius) {
    const double t = apparent_celsius + kKelvin;
    return kNucFactor.c0 + (kNucFactor.c2 * t * t + kNucFactor.c1 * t) / 1048576.0;
}

// Scene drawing helpers: each paints its shape over what is there.
struct Canvas {
    std::vector<float> &t;
    void fill(int x0, int y0, int x1, int y1, float value) {
        for (int y = std::max(0, y0); y < std::min(Scene::kHeight, y1); ++y)
            for (int x = std::max(0, x0); x < std::min(Scene::kWidth, x1); ++x)
                t[y * Scene::kWidth + x] = value;
    }
    void ellipse(double cx, double cy, double rx, double ry, float value) {
        for (int y = std::max(0, int(cy - ry)); y <= std::min(Scene::kHeight - 1, int(cy + ry)); ++y)
            for (int x = std::max(0, int(cx - rx)); x <= std::min(Scene::kWidth - 1, int(cx + rx)); ++x) {
                const double dx = (x - cx) / rx, dy = (y - cy) / ry;
                if (dx * dx + dy * dy <= 1.0) t[y * Scene::kWidth + x] = value;
            }
    }
    // An ellipse at `core` inside 60 % of its radius, cooling smoothly to `edge` at its rim.
    void shade_ellipse(double cx, double cy, double rx, double ry, float core, float edge) {
        for (int y = std::max(0, int(cy - ry)); y <= std::min(Scene::kHeight - 1, int(cy + ry)); ++y)
            for (int x = std::max(0, int(cx - rx)); x <= std::min(Scene::kWidth - 1, int(cx + rx)); ++x) {
                const double dx = (x - cx) / rx, dy = (y - cy) / ry;
                const double r = std::sqrt(dx * dx + dy * dy);
                if (r > 1.0) continue;
                const double f = r < 0.6 ? 0.0 : (r - 0.6) / 0.4;
                t[y * Scene::kWidth + x] = static_cast<float>(core + (edge - core) * f * f);
            }
    }
    void ring(double cx, double cy, double r_out, double r_in, float value) {
        for (int y = int(cy - r_out); y <= int(cy + r_out); ++y)
            for (int x = int(cx - r_out); x <= int(cx + r_out); ++x) {
                const double d = std::hypot(x - cx, y - cy);
                if (d <= r_out && d >= r_in && x >= 0 && y >= 0 && x < Scene::kWidth && y < Scene::kHeight)
                    t[y * Scene::kWidth + x] = value;
            }
    }
};

// Apparent temperatures of true ones through the scene, tabulated finely
// once (the reverse scene correction per pixel would dominate the demo).
class ApparentTable {
public:
    ApparentTable(const CameraProfile &camera, float lo, float hi) : lo_(lo) {
        const int n = static_cast<int>(std::ceil((hi - lo) / kStep)) + 2;
        values_.resize(n);
        for (int i = 0; i < n; ++i) {
            float apparent = 0.0f;
            check_library(
                reverse_enhance_distance_temp_correct(&camera.scene, camera.correct_table.data(), 0,
                                                      &apparent, lo + static_cast<float>(i * kStep)),
                "reverse_enhance_distance_temp_correct");
            values_[i] = apparent;
        }
    }
    double operator()(float celsius) const {
        const double pos = (celsius - lo_) / kStep;
        const int i = std::clamp(static_cast<int>(pos), 0, static_cast<int>(values_.size()) - 2);
        const double f = pos - i;
        return values_[i] + f * (values_[i + 1] - values_[i]);
    }

private:
    static constexpr double kStep = 0.02;
    float lo_;
    std::vector<float> values_;
};

}  // namespace

CameraProfile demo_camera() {
    CameraProfile c;
    c.name = "radimo demo camera (simulated 640x512 microbolometer)";
    c.width = Scene::kWidth;
    c.height = Scene::kHeight;
    c.high_gain = true;
    c.nuc_factor = kNucFactor;
    c.vtemp = kCoolVtemp;
    c.k_temp = 4096;  // T_FPA = vtemp / 4 - 500
    c.b_temp = -500;
    c.address_ca = 999;
    c.nuc_table.resize(CameraProfile::kNucTableEntries);
    check_library(generate_high_gain_nuc_t(&kNucFactor, c.nuc_table.data()), "generate_high_gain_nuc_t");
    c.kt.resize(kEntries);
    c.bt.resize(kEntries);
    for (int i = 0; i < kEntries; ++i) {
        const double x = static_cast<double>(i) / (kEntries - 1);
        c.kt[i] = static_cast<uint16_t>(std::lround(16384.0 * (0.93 + 0.14 * x)));
        c.bt[i] = static_cast<int16_t>(std::lround(500.0 * (x - 0.5) + 25.0 * std::sin(9.0 * x)));
    }
    model::RawHeader header;
    header.format = 300;  // version-3 grid: target temperature x distance
    header.hum_enable = 1;
    header.hum_version = 1;
    header.reflected_enable = 1;
    header.reflected_version = 1;
    c.correct_table.resize(model::raw_table_size(model::TargetLayout::kV3));
    model::fill_raw_correction_table(model::TargetLayout::kV3, header, c.correct_table.data());
    c.env_tau.resize(model::kEnvTableSize);
    model::fill_env_table(c.env_tau.data());
    c.scene = {2.0f, 0.95f, 0.5f, 22.0f, 22.0f};  // dist, ems, hum, ta, tu
    return c;
}

Scene demo_scene() {
    Scene s;
    std::vector<float> sharp(Scene::kWidth * Scene::kHeight);
    Canvas paint{sharp};
    // Room: walls at 22 degC, a little warmer under the ceiling; the floor cooler.
    for (int y = 0; y < Scene::kHeight; ++y) {
        const float wall = y < 60 ? 22.0f + 0.8f * (60 - y) / 60.0f : 22.0f;
        const float floor = 20.0f - 1.5f * (y - 430) / 82.0f;
        paint.fill(0, y, Scene::kWidth, y + 1, y >= 430 ? floor : wall);
    }
    // Window: frame, cold glass, glazing bars; a radiator with its fins below it.
    paint.fill(30, 50, 210, 250, 17.0f);
    paint.fill(40, 60, 200, 240, 9.0f);
    paint.fill(117, 60, 123, 240, 16.0f);
    paint.fill(40, 147, 200, 153, 16.0f);
    for (int x = 40; x < 190; x += 10) {
        paint.fill(x, 290, x + 6, 372, 47.0f);
        paint.fill(x + 6, 290, x + 10, 372, 41.0f);
    }
    paint.fill(36, 286, 194, 292, 44.0f);
    // Desk.
    paint.fill(330, 392, 640, 404, 23.0f);
    paint.fill(350, 404, 362, 512, 21.5f);
    paint.fill(610, 404, 622, 512, 21.5f);
    // Person: shoulders, neck, face with a warm core and cooler edges, hair, eyes, nose.
    paint.shade_ellipse(280, 520, 150, 140, 29.5f, 27.0f);
    paint.fill(250, 300, 310, 380, 33.0f);
    paint.shade_ellipse(280, 230, 72, 92, 34.0f, 31.5f);
    paint.shade_ellipse(280, 160, 74, 40, 27.5f, 25.0f);
    paint.fill(206, 160, 354, 175, 27.0f);
    paint.ellipse(252, 222, 9, 5, 35.5f);
    paint.ellipse(308, 222, 9, 5, 35.5f);
    paint.ellipse(280, 262, 8, 12, 32.5f);
    // Mug with its handle and the coffee's surface, and the warm air rising from it.
    paint.ring(505, 352, 24, 14, 56.0f);
    paint.fill(420, 310, 496, 392, 65.0f);
    paint.ellipse(458, 310, 38, 7, 68.0f);
    for (int y = 200; y < 303; ++y) {
        const double rise = (303.0 - y) / 103.0;  // 0 at the coffee, 1 at the top of the plume
        const double centre = 458.0 + 7.0 * std::sin(y / 11.0) * rise;
        const double width = 14.0 + 16.0 * rise;
        for (int x = 420; x < 500; ++x) {
            const double d = (x - centre) / width;
            sharp[y * Scene::kWidth + x] += static_cast<float>(9.0 * (1.0 - rise) * std::exp(-d * d));
        }
    }
    // Cold can.
    paint.fill(548, 318, 598, 392, 5.0f);
    paint.ellipse(573, 318, 25, 5, 7.0f);

    // Optical blur: a 5x5 box, edges extended.
    s.celsius.resize(sharp.size());
    for (int y = 0; y < Scene::kHeight; ++y)
        for (int x = 0; x < Scene::kWidth; ++x) {
            float sum = 0.0f;
            for (int dy = -2; dy <= 2; ++dy)
                for (int dx = -2; dx <= 2; ++dx) {
                    const int yy = std::clamp(y + dy, 0, Scene::kHeight - 1);
                    const int xx = std::clamp(x + dx, 0, Scene::kWidth - 1);
                    sum += sharp[yy * Scene::kWidth + xx];
                }
            s.celsius[y * Scene::kWidth + x] = sum / 25.0f;
        }
    s.objects = {
        {"wall", 22.0f, 240, 80, 60, 30},  {"window glass", 9.0f, 60, 80, 40, 50},
        {"face", 34.0f, 250, 232, 60, 13}, {"mug", 65.0f, 430, 330, 50, 50},
        {"can", 5.0f, 556, 335, 34, 45},
    };
    return s;
}

Frame sense(const CameraProfile &camera, const Scene &scene, uint16_t vtemp, uint32_t noise_seed) {
    const auto [lo, hi] = std::minmax_element(scene.celsius.begin(), scene.celsius.end());
    const ApparentTable apparent(camera, *lo - 1.0f, *hi + 1.0f);
    const int index = camera.ktbt_index(vtemp);
    const double gain = camera.kt[index] / 16384.0;
    const double offset = camera.bt[index];
    std::mt19937 random(noise_seed);  // the engine's sequence is fixed by the C++ standard
    Frame raw;
    raw.width = Scene::kWidth;
    raw.height = Scene::kHeight;
    raw.unit = Unit::kNuc;
    raw.unit_source = UnitSource::kFile;
    raw.vtemp = vtemp;
    raw.samples.resize(scene.celsius.size());
    for (std::size_t i = 0; i < scene.celsius.size(); ++i) {
        // Triangular noise of +-1.5 NUC (about +-0.03 K).
        const double noise = 1.5 * ((random() & 0xFFFF) + (random() & 0xFFFF) - 65535.0) / 65535.0;
        const double r = (ideal_nuc(apparent(scene.celsius[i])) - offset) / gain + noise;
        raw.samples[i] = static_cast<uint16_t>(std::clamp(std::lround(r), 0L, 16383L));
    }
    return raw;
}

}  // namespace radimo::cli::demo
