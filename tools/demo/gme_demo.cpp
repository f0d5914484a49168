// gme_demo: makes the demo sequence and reports how well gme recovered its motion.
//   gme_demo render DIR [FRAMES] [WxH]
//                                  writes DIR/input.des, DIR/input.pic and DIR/truth.txt
//                                  (30 frames of 352x288 unless told otherwise)
//   gme_demo report DIR            reads DIR/gme.out (gme's standard output),
//                                  DIR/mae_Bin.txt, DIR/input and DIR/truth.txt
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tools/demo/Report.h"
#include "tools/demo/Scene.h"

using namespace ormel;

namespace {

const int kWidth = 352, kHeight = 288;
const int kMinSide = 16;   // room for the moving disc
const double kGoodCornerError = 0.25;   // pixels

int Render(const std::string& dir, int frames, int width, int height) {
    demo::Scene scene(width, height);
    VidsFile out;
    out.SetWidth(width);
    out.SetHeight(height);
    out.SetNumberOfImages(frames);
    out.SetFrameRate(25);
    out.SetSamplingMatrices(YUV420, false);
    if (out.Open(dir + "/input", OPEN_NEW) & 1)
        return 1;
    YUVImage frame(out);
    for (int n = 0; n < frames; ++n) {
        scene.Render(n, frame);
        if (out.Write(frame, n) != 18)
            return 1;
    }
    out.Close();
    if (!demo::WriteTruth(dir + "/truth.txt", scene, frames)) {
        std::fprintf(stderr, "gme_demo: cannot write %s/truth.txt\n", dir.c_str());
        return 1;
    }
    std::printf("rendered %d frames of %dx%d 4:2:0 into %s/input (.des, .pic)\n", frames, width,
                height, dir.c_str());
    return 0;
}

// Mean absolute difference of consecutive input frames: the error without compensation.
double UncompensatedMae(VidsFile& in, int frames) {
    YUVImage prev(in), cur(in);
    double total = 0;
    const long n = static_cast<long>(in.Width()) * in.Height();
    in.Read(prev, 0);
    for (int k = 1; k < frames; ++k) {
        in.Read(cur, k);
        long sum = 0;
        for (long i = 0; i < n; ++i)
            sum += std::abs(cur.GetArray(Y_COMP)[i] - prev.GetArray(Y_COMP)[i]);
        total += static_cast<double>(sum) / n;
        prev.CopyFrom(cur, Y_COMP);
    }
    return frames > 1 ? total / (frames - 1) : 0;
}

int Report(const std::string& dir) {
    std::ifstream out(dir + "/gme.out");
    const std::vector<demo::PairEstimate> pairs = demo::ParseGmeOutput(out);
    const std::vector<demo::Affine> truth = demo::ReadTruth(dir + "/truth.txt");
    VidsFile in;
    if (pairs.empty() || truth.empty() || in.Open(dir + "/input", OPEN_OLD) & 1) {
        std::fprintf(stderr, "gme_demo: nothing to report in %s (run gme first)\n", dir.c_str());
        return 1;
    }
    const int frames = in.NumberOfImages();
    double maeSum = 0, cornerSum = 0, cornerMax = 0;
    int good = 0, rejected = 0, compared = 0;
    for (const demo::PairEstimate& p : pairs) {
        maeSum += p.mae;
        rejected += p.rejected;
        if (p.frame < 1 || static_cast<size_t>(p.frame) >= truth.size())
            continue;
        const double e = demo::CornerDisplacement(p.model, truth[p.frame], in.Width(), in.Height());
        cornerSum += e;
        cornerMax = std::fmax(cornerMax, e);
        good += e <= kGoodCornerError;
        ++compared;
    }
    std::printf("gme demo: %d frames of %dx%d, camera pan + zoom + rotation, one moving object\n",
                frames, in.Width(), in.Height());
    std::printf("frame pairs processed       : %zu\n", pairs.size());
    std::printf("mean MAE without compensation: %.2f\n", UncompensatedMae(in, frames));
    std::printf("mean MAE with compensation   : %.2f\n", maeSum / pairs.size());
    if (compared > 0)
        std::printf("motion error (mean corner displacement): mean %.3f px, max %.3f px, "
                    "%d of %d pairs within %.2f px\n",
                    cornerSum / compared, cornerMax, good, compared, kGoodCornerError);
    std::printf("estimates rejected          : %d\n", rejected);
    std::printf("output sequence             : %s/compensated (.des, .pic); log %s/mae_Bin.txt\n",
                dir.c_str(), dir.c_str());
    in.Close();
    return 0;
}

// "WxH" with both sides at least kMinSide.
bool ParseSize(const char* text, int* width, int* height) {
    char tail = 0;
    return std::sscanf(text, "%dx%d%c", width, height, &tail) == 2 && *width >= kMinSide &&
           *height >= kMinSide;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string cmd = argc > 1 ? argv[1] : "";
    if (cmd == "render" && argc >= 3 && argc <= 5) {
        const int frames = argc > 3 ? std::atoi(argv[3]) : 30;
        int width = kWidth, height = kHeight;
        if (frames >= 2 && (argc < 5 || ParseSize(argv[4], &width, &height)))
            return Render(argv[2], frames, width, height);
    }
    if (cmd == "report" && argc == 3)
        return Report(argv[2]);
    std::fprintf(stderr, "usage: gme_demo render DIR [FRAMES] [WxH] | gme_demo report DIR\n"
                         "  FRAMES at least 2, W and H at least %d\n", kMinSide);
    return 2;
}
