// Help: the texts of vidstool --help and of each command's --help.
#include "tools/vidstool/CommandLine.h"

namespace vidstool {

const char* ToolHelp() {
    return "Usage: vidstool COMMAND [OPTIONS] OPERANDS\n"
           "\n"
           "Moves video between YUV4MPEG2 (.y4m) or raw planar YUV files and vids\n"
           "sequences (NAME.des beside NAME.pic, what gme reads and writes), and\n"
           "describes vids sequences.\n"
           "\n"
           "Commands:\n"
           "  import IN OUT       read IN (.y4m, or raw .yuv with --size) into sequence OUT\n"
           "  export IN OUT.y4m   write sequence IN as YUV4MPEG2 ('-': standard output)\n"
           "  info NAME           print the description and geometry of sequence NAME\n"
           "\n"
           "'vidstool COMMAND --help' describes a command.\n"
           "Exit status: 0 done, 1 the command failed, 2 bad command line.\n"
           "\n"
           "Example, from an mp4 through gme to something playable:\n"
           "  ffmpeg -i clip.mp4 -t 5 -pix_fmt yuv420p -f yuv4mpegpipe - | vidstool import - clip\n"
           "  gme clip compensated\n"
           "  vidstool export compensated - | ffmpeg -f yuv4mpegpipe -i - -pix_fmt yuv420p out.mp4\n";
}

namespace {

const char kImportHelp[] =
    "Usage: vidstool import [OPTIONS] IN OUT\n"
    "\n"
    "Reads IN, a YUV4MPEG2 stream or (with --size) raw planar video, '-' for standard\n"
    "input, and writes it as the vids sequence OUT: OUT.des and OUT.pic, 8-bit\n"
    "samples. An existing OUT is kept as OUT.des~ and OUT.pic~.\n"
    "\n"
    "YUV4MPEG2 input: 8-bit colour spaces 420jpeg, 420paldv, 420mpeg2, 420, 422, 444\n"
    "and mono; other colour spaces (4:1:1, alpha, more than 8 bits) are refused. The\n"
    "header's frame rate, interlacing, pixel aspect, colour space and X parameters\n"
    "are kept in OUT's description, so that export writes them back; parameters of\n"
    "FRAME lines are not kept. Mixed interlacing (Im) is imported frame by frame, as\n"
    "progressive video.\n"
    "\n"
    "Raw input: frames of a Y, a U and a V plane, 8 bits each, chroma sizes rounded\n"
    "up for odd picture sizes; the input must hold a whole number of frames.\n"
    "\n"
    "Interlaced video becomes a sequence of fields: frame f gives time samples 2f\n"
    "and 2f+1, each with half the lines, in the order they are shown; the\n"
    "sequence's temporal frequency is then the field rate, twice the frame rate.\n"
    "\n"
    "Options:\n"
    "  --size WxH              picture size of raw input (makes the input raw)\n"
    "  --format 420|422|444|400\n"
    "                          chroma format of raw input (default 420)\n"
    "  --rate R                frame rate, as N:D, N/D or a number (25, 29.97);\n"
    "                          default 25 for raw input; replaces the F of a\n"
    "                          YUV4MPEG2 header\n"
    "  --interlace p|t|b       progressive, top field first or bottom field first;\n"
    "                          default p for raw input; replaces the I of a\n"
    "                          YUV4MPEG2 header\n";

const char kExportHelp[] =
    "Usage: vidstool export [OPTIONS] IN OUT.y4m\n"
    "\n"
    "Writes the vids sequence IN as a YUV4MPEG2 stream to OUT.y4m, or to standard\n"
    "output when OUT.y4m is '-'.\n"
    "\n"
    "IN must hold 8-bit (OCTET) samples in 4:2:0, 4:2:2, 4:4:4 or luminance only;\n"
    "luminance-only sequences, such as gme's output, are written as Cmono. Other\n"
    "sample types (ENTIER_2, REEL, 1_BIT, 2_BITS, 4_BITS) are refused, not converted.\n"
    "\n"
    "A sequence made by 'vidstool import' gets its original header back. For any\n"
    "other the frame rate comes from the sequence's frequency, turned into the\n"
    "likeliest N:D (29.97 gives 30000:1001). The fields of an interlaced sequence\n"
    "are woven back into frames, time samples 2f and 2f+1 making frame f; a last\n"
    "field without its pair is left out.\n"
    "\n"
    "Options:\n"
    "  --rate R          frame rate to write instead, as N:D, N/D or a number\n"
    "  --field-order t|b which field the first time sample of an interlaced\n"
    "                    sequence holds, top or bottom, when its description does\n"
    "                    not say (default: from the description, else t)\n"
    "\n"
    "gme's output of an interlaced sequence reports half the frame rate and does not\n"
    "keep the field order: give --rate, and --field-order b for bottom field first.\n";

const char kInfoHelp[] =
    "Usage: vidstool info NAME\n"
    "\n"
    "Prints the description record of the vids sequence NAME, then its number of\n"
    "time samples (fields, when interlaced), picture size, chroma format,\n"
    "interlacing and frame rate as the sequence file reports them.\n";

}  // namespace

const char* CommandHelp(Command c) {
    switch (c) {
    case Command::kImport: return kImportHelp;
    case Command::kExport: return kExportHelp;
    case Command::kInfo: return kInfoHelp;
    default: return ToolHelp();
    }
}

}  // namespace vidstool
