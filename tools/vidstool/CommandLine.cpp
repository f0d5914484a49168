// CommandLine: parsing of vidstool's arguments.
#include "tools/vidstool/CommandLine.h"

#include <map>

#include "y4m/Y4mHeader.h"

namespace vidstool {

using namespace y4m;

namespace {

struct Parsed {
    std::map<std::string, std::string> options;
    std::vector<std::string> operands;
    bool help = false;
};

// Splits args[1..] into options (those in `known`, each taking a value) and operands.
bool Split(const std::vector<std::string>& args, const std::vector<std::string>& known,
           Parsed* p, std::string* error) {
    bool optionsEnded = false;
    for (size_t k = 1; k < args.size(); ++k) {
        const std::string& a = args[k];
        if (optionsEnded || a.size() < 2 || a[0] != '-') {
            p->operands.push_back(a);
            continue;
        }
        if (a == "--") {
            optionsEnded = true;
            continue;
        }
        if (a == "--help" || a == "-h") {
            p->help = true;
            continue;
        }
        const size_t eq = a.find('=');
        const std::string name = a.substr(0, eq);
        bool isKnown = false;
        for (const std::string& n : known)
            isKnown |= n == name;
        if (!isKnown) {
            *error = "unknown option " + name + " (see vidstool " + args[0] + " --help)";
            return false;
        }
        if (eq != std::string::npos) {
            p->options[name] = a.substr(eq + 1);
        } else if (k + 1 < args.size()) {
            p->options[name] = args[++k];
        } else {
            *error = "option " + name + " needs a value";
            return false;
        }
    }
    return true;
}

bool Operands(const Parsed& p, size_t n, const char* usage, std::string* error) {
    if (p.operands.size() == n)
        return true;
    *error = std::string(p.operands.size() < n ? "missing operand" : "too many operands") +
             " (usage: " + usage + ")";
    return false;
}

bool ParseSize(const std::string& v, int* w, int* h) {
    const size_t x = v.find_first_of("xX");
    if (x == std::string::npos)
        return false;
    const std::string a = v.substr(0, x), b = v.substr(x + 1);
    const auto number = [](const std::string& s, int* out) {
        if (s.empty() || s.size() > 5 || s.find_first_not_of("0123456789") != std::string::npos)
            return false;
        *out = std::stoi(s);
        return *out >= 1 && *out <= kMaxPictureSize;
    };
    return number(a, w) && number(b, h);
}

bool ParseFormat(const std::string& v, ormel::ChromaFormat* f) {
    if (v == "420")
        *f = ormel::YUV420;
    else if (v == "422")
        *f = ormel::YUV422;
    else if (v == "444")
        *f = ormel::YUV444;
    else if (v == "400")
        *f = ormel::YUV400;
    else
        return false;
    return true;
}

bool RateOption(const std::map<std::string, std::string>& opt, bool* given, Rational* rate,
                std::string* error) {
    const auto it = opt.find("--rate");
    if (it == opt.end())
        return true;
    *given = ParseRate(it->second, rate);
    if (!*given)
        *error = "bad --rate '" + it->second + "' (N:D, N/D or a positive number)";
    return *given;
}

bool ParseImport(const Parsed& p, ImportOptions* o, std::string* error) {
    if (!Operands(p, 2, "vidstool import [OPTIONS] IN OUT", error))
        return false;
    o->input = p.operands[0];
    o->output = p.operands[1];
    const auto& opt = p.options;
    o->raw = opt.count("--size") != 0;
    if (o->raw && !ParseSize(opt.at("--size"), &o->width, &o->height)) {
        *error = "bad --size '" + opt.at("--size") + "' (WxH, each 1 to 16384)";
        return false;
    }
    if (opt.count("--format") != 0) {
        if (!o->raw) {
            *error = "--format describes raw input and needs --size";
            return false;
        }
        if (!ParseFormat(opt.at("--format"), &o->format)) {
            *error = "bad --format '" + opt.at("--format") + "' (420, 422, 444 or 400)";
            return false;
        }
    }
    if (!RateOption(opt, &o->rateGiven, &o->rate, error))
        return false;
    if (opt.count("--interlace") != 0) {
        const std::string& v = opt.at("--interlace");
        if (v != "p" && v != "t" && v != "b") {
            *error = "bad --interlace '" + v + "' (p, t or b)";
            return false;
        }
        o->interlace = v[0];
    }
    return true;
}

bool ParseExport(const Parsed& p, ExportOptions* o, std::string* error) {
    if (!Operands(p, 2, "vidstool export [OPTIONS] IN OUT.y4m", error))
        return false;
    o->input = p.operands[0];
    o->output = p.operands[1];
    const auto& opt = p.options;
    if (!RateOption(opt, &o->rateGiven, &o->rate, error))
        return false;
    if (opt.count("--field-order") != 0) {
        const std::string& v = opt.at("--field-order");
        if (v != "t" && v != "b") {
            *error = "bad --field-order '" + v + "' (t or b)";
            return false;
        }
        o->fieldOrder = v[0];
    }
    return true;
}

}  // namespace

namespace {

bool ParseCommand(const std::vector<std::string>& args, Invocation* inv, std::string* error);

}  // namespace

bool ParseCommandLine(const std::vector<std::string>& args, Invocation* inv, std::string* error) {
    *inv = Invocation();
    if (args.empty()) {
        *error = "no command given (see vidstool --help)";
        return false;
    }
    if (ParseCommand(args, inv, error))
        return true;
    if (args[0] == "import" || args[0] == "export" || args[0] == "info")
        *error = args[0] + ": " + *error;
    return false;
}

namespace {

bool ParseCommand(const std::vector<std::string>& args, Invocation* inv, std::string* error) {
    const std::string& c = args[0];
    if (c == "--help" || c == "-h" || c == "help") {
        inv->command = Command::kHelp;
        if (c == "help" && args.size() > 1)   // "vidstool help import"
            return ParseCommand({args[1], "--help"}, inv, error);
        return true;
    }
    Parsed p;
    if (c == "import") {
        inv->command = Command::kImport;
        if (!Split(args, {"--size", "--format", "--rate", "--interlace"}, &p, error))
            return false;
        inv->help = p.help;
        return p.help || ParseImport(p, &inv->import, error);
    }
    if (c == "export") {
        inv->command = Command::kExport;
        if (!Split(args, {"--rate", "--field-order"}, &p, error))
            return false;
        inv->help = p.help;
        return p.help || ParseExport(p, &inv->exportTo, error);
    }
    if (c == "info") {
        inv->command = Command::kInfo;
        if (!Split(args, {}, &p, error))
            return false;
        inv->help = p.help;
        if (p.help)
            return true;
        if (!Operands(p, 1, "vidstool info NAME", error))
            return false;
        inv->infoName = p.operands[0];
        return true;
    }
    *error = "unknown command '" + c + "' (see vidstool --help)";
    return false;
}

}  // namespace

}  // namespace vidstool
