#include <algorithm>
#include <cmath>
#include <iomanip>
#include <locale>
#include <sstream>

#include "buffer_report.h"

namespace vexoplay {
namespace {

constexpr double kWidth = 900.0;
constexpr double kHeight = 420.0;
constexpr double kLeft = 70.0;
constexpr double kRight = 830.0;
constexpr double kTop = 50.0;
constexpr double kBottom = 350.0;
constexpr double kTopScore = 100.0;
constexpr int kSteps = 5;

/// The least of 1, 2 or 5 times a power of ten by which kSteps steps reach `top`.
double stepFor(double top) {
    double step = std::pow(10.0, std::floor(std::log10(std::max(top, 0.1) / kSteps)));
    for (const double factor : {2.0, 2.5, 2.0}) {
        if (step * kSteps >= top) break;
        step *= factor;
    }
    return step;
}

class Plot {
public:
    Plot(double seconds, double level) : step_x_(stepFor(seconds)), step_y_(stepFor(level)) {
        out_.imbue(std::locale::classic());
        out_ << std::fixed << std::setprecision(1);
        out_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kWidth << "\" height=\"" << kHeight
             << "\" viewBox=\"0 0 " << kWidth << ' ' << kHeight << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
             << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    }

    double x(int64_t atMs) const {
        return kLeft + (kRight - kLeft) * static_cast<double>(atMs) / 1000.0 / (step_x_ * kSteps);
    }
    double yOfLevel(int levelMs) const { return y(static_cast<double>(levelMs) / 1000.0 / (step_y_ * kSteps)); }
    static double yOfScore(double score) { return y(score / kTopScore); }

    void axes() {
        for (int i = 0; i <= kSteps; ++i) {
            const double share = static_cast<double>(i) / kSteps;
            line(kLeft, y(share), kRight, y(share), i == 0 ? "black" : "#dddddd");
            text(kLeft - 8, y(share) + 4, number(step_y_ * i), "end", "#1f5fa8");
            text(kRight + 8, y(share) + 4, number(kTopScore * share), "start", "#b35900");
            text(kLeft + (kRight - kLeft) * share, kBottom + 18, number(step_x_ * i), "middle", "black");
        }
        line(kLeft, kTop, kLeft, kBottom, "black");
        line(kRight, kTop, kRight, kBottom, "black");
        text((kLeft + kRight) / 2, kBottom + 38, "time since the start (s)", "middle", "black");
        upright(20, "buffer level (s)", "#1f5fa8");
        upright(kWidth - 15, "score (0 to 100)", "#b35900");
    }
    void legend() {
        entry(0, "buffer level", "#1f5fa8", "");
        entry(1, "score", "#b35900", "");
        entry(2, "switch", "#2e7d32", "4 3");
        entry(3, "stall", "#c62828", "");
    }
    void mark(int64_t atMs, const char *colour, const char *dashes) {
        line(x(atMs), kTop, x(atMs), kBottom, colour, dashes);
    }
    template <typename Points, typename Place>
    void curve(const Points &points, const char *colour, const Place &place) {
        out_ << "<polyline fill=\"none\" stroke=\"" << colour << "\" stroke-width=\"1.5\" points=\"";
        for (const auto &point : points) out_ << x(point.atMs) << ',' << place(point) << ' ';
        out_ << "\"/>\n";
    }
    void dot(double atX, double atY, const char *colour) {
        out_ << "<circle cx=\"" << atX << "\" cy=\"" << atY << "\" r=\"3\" fill=\"" << colour << "\"/>\n";
    }
    std::string finish() { return out_.str() + "</svg>\n"; }

private:
    static double y(double share) { return kBottom - (kBottom - kTop) * share; }
    static std::string number(double value) {
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << value;
        return text.str();
    }
    void line(double x1, double y1, double x2, double y2, const char *colour, const char *dashes = "") {
        out_ << "<line x1=\"" << x1 << "\" y1=\"" << y1 << "\" x2=\"" << x2 << "\" y2=\"" << y2 << "\" stroke=\""
             << colour << "\" stroke-dasharray=\"" << dashes << "\"/>\n";
    }
    void text(double atX, double atY, const std::string &words, const char *anchor, const char *colour) {
        out_ << "<text x=\"" << atX << "\" y=\"" << atY << "\" text-anchor=\"" << anchor << "\" fill=\"" << colour
             << "\">" << words << "</text>\n";
    }
    void upright(double atX, const char *words, const char *colour) {
        const double middle = (kTop + kBottom) / 2;
        out_ << "<text transform=\"translate(" << atX << ' ' << middle
             << ") rotate(-90)\" text-anchor=\"middle\" fill=\"" << colour << "\">" << words << "</text>\n";
    }
    void entry(int place, const char *words, const char *colour, const char *dashes) {
        const double from = kLeft + 150.0 * place;
        line(from, 25, from + 30, 25, colour, dashes);
        text(from + 38, 29, words, "start", "black");
    }

    const double step_x_;
    const double step_y_;
    std::ostringstream out_;
};

}  // namespace

std::string plotSvg(const BufferReport::History &history) {
    int highest = 0;
    for (const auto &level : history.levels) highest = std::max(highest, level.levelMs);
    const int64_t lastMs = history.levels.empty() ? 0 : history.levels.back().atMs;
    Plot plot(static_cast<double>(lastMs) / 1000.0, highest / 1000.0);
    plot.axes();
    plot.legend();
    for (const int64_t at : history.switchesMs) plot.mark(at, "#2e7d32", "4 3");
    for (const int64_t at : history.stallsMs) plot.mark(at, "#c62828", "");
    plot.curve(history.levels, "#1f5fa8", [&](const auto &point) { return plot.yOfLevel(point.levelMs); });
    plot.curve(history.scores, "#b35900", [&](const auto &point) { return Plot::yOfScore(point.score); });
    for (const auto &score : history.scores) plot.dot(plot.x(score.atMs), Plot::yOfScore(score.score), "#b35900");
    return plot.finish();
}

}  // namespace vexoplay
