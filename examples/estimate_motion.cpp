// estimate_motion: the global motion along a raw 4:2:0 video file, printed as the motion
// file of `gme --motion` (one CSV row per pair of frames, every double in the shortest
// text that reads back as the same double), so that the two can be compared byte for byte.
//   estimate_motion --size WxH FILE
// FILE (- for standard input) holds frames of a Y, a U and a V plane, 8 bits a sample,
// chroma planes of ceil(W/2) x ceil(H/2). Frames are read one at a time; the estimator
// uses their luminance, which it copies, so one buffer serves every frame.
#include <gme/SequenceEstimator.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

namespace {

std::string Shortest(double v) {
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, v).ptr);
}

std::string Row(long pair, const gme::PairResult& r) {
    std::string row = std::to_string(pair);
    for (double a : r.params)
        row += "," + Shortest(a);
    row += r.accepted ? ",1," : ",0,";
    return row + Shortest(r.mae) + "," + Shortest(r.maeZeroMotion) + "," +
           std::to_string(r.objectBlocks);
}

}  // namespace

int main(int argc, char** argv) {
    int width = 0, height = 0;
    char extra = 0;
    if (argc != 4 || std::strcmp(argv[1], "--size") != 0 ||
        std::sscanf(argv[2], "%dx%d%c", &width, &height, &extra) != 2 || width < 1 || height < 1) {
        std::fprintf(stderr, "usage: estimate_motion --size WxH FILE\n");
        return 2;
    }
    std::FILE* in = std::strcmp(argv[3], "-") == 0 ? stdin : std::fopen(argv[3], "rb");
    if (!in) {
        std::perror(argv[3]);
        return 1;
    }
    const size_t luma = static_cast<size_t>(width) * height;
    const size_t chroma = static_cast<size_t>((width + 1) / 2) * ((height + 1) / 2);
    std::vector<std::uint8_t> frame(luma + 2 * chroma);

    std::puts("pair,a0,a1,a2,a3,a4,a5,accepted,mae,mae_zero_motion,object_blocks");
    gme::SequenceEstimator estimator;   // the gme command's settings
    long frames = 0;
    size_t got;
    try {
        while ((got = std::fread(frame.data(), 1, frame.size(), in)) == frame.size()) {
            // Row r of the luminance starts at frame.data() + r * width.
            const std::optional<gme::PairResult> r =
                estimator.push(frame.data(), width, height, width);
            if (r)
                std::puts(Row(frames, *r).c_str());
            ++frames;
        }
    } catch (const std::exception& e) {   // a frame below 32 x 32, or a failed estimate
        std::fprintf(stderr, "estimate_motion: frame %ld: %s\n", frames, e.what());
        return 1;
    }
    if (got != 0 || std::ferror(in)) {
        std::fprintf(stderr, "estimate_motion: %s: frame %ld is %s\n", argv[3], frames,
                     std::ferror(in) ? "unreadable" : "cut short");
        return 1;
    }
    return 0;
}
