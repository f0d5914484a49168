// Report: what the demo prints after a gme run: how well the estimated motion and the
// compensation match the scene's known motion.
#ifndef DEMO_REPORT_H
#define DEMO_REPORT_H

#include <istream>
#include <string>
#include <vector>

#include "tools/demo/Scene.h"

namespace demo {

// The model gme compensated frame pair n with, as read from its standard output.
struct PairEstimate {
    int frame;        // n: the pair (n - 1, n)
    Affine model;     // the accepted parameters in force for this pair
    bool rejected;    // the new estimate was rejected and the previous model kept
    double mae;       // the "MAE: " value printed for the pair
};

// Reads gme's standard output: "processing frame: " lines, the final-parameter line of
// each estimate, "Estimation failed for this frame!" and the "MAE: " lines.
std::vector<PairEstimate> ParseGmeOutput(std::istream& in);

// Mean distance, in pixels, between the four frame corners mapped by a and by b.
double CornerDisplacement(const Affine& a, const Affine& b, int width, int height);

// Truth file: one line "n a0 a1 a2 a3 a4 a5" per frame pair.
bool WriteTruth(const std::string& path, const Scene& scene, int frames);
std::vector<Affine> ReadTruth(const std::string& path);   // index n holds pair n

}  // namespace demo

#endif
