// Y4mWriter: YUV4MPEG2 header and frames.
#include "y4m/Y4mWriter.h"

#include <string>

namespace y4m {

bool WriteY4mHeader(std::ostream& out, const Y4mHeader& h) {
    const std::string line = FormatY4mHeader(h);
    out.write(line.data(), static_cast<std::streamsize>(line.size()));
    return out.good();
}

bool WriteY4mFrame(std::ostream& out, const Frame& f) {
    out.write("FRAME\n", 6);
    for (int c = 0; c < 3; ++c)
        if (!f.plane[c].empty())
            out.write(reinterpret_cast<const char*>(f.plane[c].data()),
                  static_cast<std::streamsize>(f.plane[c].size()));
    return out.good();
}

}  // namespace y4m
