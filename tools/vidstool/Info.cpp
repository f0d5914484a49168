// Info: a vids sequence's description record and what the sequence file reports.
#include <sys/stat.h>

#include <iostream>

#include "image/VidsFile.h"
#include "tools/vidstool/Commands.h"
#include "vids/vids.h"
#include "y4m/FieldLayout.h"
#include "y4m/Frame.h"
#include "y4m/SequenceDescription.h"
#include "y4m/StreamNotes.h"

namespace vidstool {

using namespace y4m;

namespace {

void PrintImages(int samples, bool interlaced) {
    std::cout << "Images        : " << samples;
    if (interlaced) {
        std::cout << " fields (" << samples / 2 << " frames";
        if (samples % 2 != 0)
            std::cout << " and 1 field";
        std::cout << ")";
    }
    std::cout << "\n";
}

const char* InterlaceText(FieldOrder o) {
    switch (o) {
    case FieldOrder::kTopFirst: return "yes, top field first";
    case FieldOrder::kBottomFirst: return "yes, bottom field first";
    default: return "no";
    }
}

}  // namespace

int RunInfo(const std::string& name) {
    std::string error;
    if (!CheckReadable(name, &error))
        return Fail(error);
    SequenceDescription d;
    if (!d.Load(name))
        return Fail(name + ": the description could not be read");
    ormel::VidsFile in;
    if (in.Open(name, ormel::OPEN_OLD) & 1)
        return Fail(name + ": the sequence could not be opened");

    Img_INF_print(d.Record());
    const FieldOrder order = OrderOfLattice(in.Interlaced(), d.VerticalOffset());
    PrintImages(in.NumberOfImages(), in.Interlaced());
    std::cout << "Size          : " << in.Width() << " x " << in.Height() << "\n";
    std::cout << "Chroma format : " << FormatName(in.CFormat()) << "\n";
    std::cout << "Interlaced    : " << InterlaceText(order) << "\n";
    const float rate = in.FrameRate();
    std::cout << "Frame rate    : " << rate;
    const Y4mHeader notes = LoadNotes(d);
    if (notes.hasRate && RateAgrees(notes.rate, rate))
        std::cout << " (exactly " << notes.rate.ToString() << ")";
    std::cout << std::endl;

    struct stat st;
    const std::string pic = FilesOf(name).pic;
    if (stat(pic.c_str(), &st) == 0 && static_cast<int64_t>(st.st_size) < d.DataBytes())
        Warn(pic + " is truncated: it holds " + std::to_string(st.st_size) +
             " bytes, the description needs " + std::to_string(d.DataBytes()));
    return 0;
}

}  // namespace vidstool
