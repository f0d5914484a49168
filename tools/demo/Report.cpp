// Report: parsing gme's output and comparing its motion with the truth.
#include "tools/demo/Report.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace demo {

std::vector<PairEstimate> ParseGmeOutput(std::istream& in) {
    static const std::string kFrame = "processing frame: ";
    static const std::string kFinal = "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): ";
    static const std::string kFailed = "Estimation failed for this frame!";
    static const std::string kMae = "MAE: ";
    std::vector<PairEstimate> pairs;
    Affine accepted{{0, 1, 0, 0, 0, 1}};
    PairEstimate current{0, accepted, false, 0};
    Affine latest = accepted;
    std::string line;
    while (std::getline(in, line)) {
        if (line.compare(0, kFrame.size(), kFrame) == 0) {
            current = PairEstimate{std::atoi(line.c_str() + kFrame.size()), accepted, false, 0};
        } else if (line.compare(0, kFinal.size(), kFinal) == 0) {
            std::istringstream values(line.substr(kFinal.size()));
            for (double& v : latest.a)
                values >> v;
            accepted = latest;   // until a rejection says otherwise
        } else if (line == kFailed) {
            current.rejected = true;
            accepted = current.model;   // the model before this estimate
        } else if (line.compare(0, kMae.size(), kMae) == 0) {
            current.model = accepted;
            current.mae = std::atof(line.c_str() + kMae.size());
            pairs.push_back(current);
        }
    }
    return pairs;
}

double CornerDisplacement(const Affine& a, const Affine& b, int width, int height) {
    const double xs[4] = {0, width - 1.0, 0, width - 1.0};
    const double ys[4] = {0, 0, height - 1.0, height - 1.0};
    double sum = 0;
    for (int k = 0; k < 4; ++k) {
        double ua, va, ub, vb;
        Apply(a, xs[k], ys[k], &ua, &va);
        Apply(b, xs[k], ys[k], &ub, &vb);
        sum += std::hypot(ua - ub, va - vb);
    }
    return sum / 4;
}

bool WriteTruth(const std::string& path, const Scene& scene, int frames) {
    FILE* f = std::fopen(path.c_str(), "w");
    if (!f)
        return false;
    std::fprintf(f, "# pair n: frame n -> frame n-1, x' = a0 + a1 x + a2 y, y' = a3 + a4 x + a5 y\n");
    for (int n = 1; n < frames; ++n) {
        const Affine m = scene.TrueMotion(n);
        std::fprintf(f, "%d %.9f %.9f %.9f %.9f %.9f %.9f\n", n, m.a[0], m.a[1], m.a[2], m.a[3],
                     m.a[4], m.a[5]);
    }
    return std::fclose(f) == 0;
}

std::vector<Affine> ReadTruth(const std::string& path) {
    std::vector<Affine> truth;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream values(line);
        int n = 0;
        Affine m{};
        values >> n;
        for (double& v : m.a)
            values >> v;
        if (!values || n < 1)
            continue;
        if (truth.size() <= static_cast<size_t>(n))
            truth.resize(n + 1, Affine{{0, 1, 0, 0, 0, 1}});
        truth[n] = m;
    }
    return truth;
}

}  // namespace demo
