// Run: the command's frame loop with its checks, logs and failure handling.
#include "driver/Run.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "driver/FrameInput.h"
#include "driver/FrameOutput.h"
#include "driver/Interrupt.h"
#include "driver/MotionLog.h"
#include "driver/RunStatistics.h"
#include "driver/SequenceFiles.h"
#include "driver/VidsInput.h"
#include "driver/VidsOutput.h"
#include "driver/Y4mInput.h"
#include "driver/Y4mOutput.h"
#include "gme/SequenceEstimator.h"

namespace driver {

namespace {

const char kMaeLog[] = "mae_Bin.txt";

int Fail(const std::string& message) {
    std::cout.flush();
    std::fprintf(stderr, "gme: %s\n", message.c_str());
    return 1;
}

// Where the per-pair lines go: standard output, or standard error when standard output
// carries data, or nowhere.
struct Lines {
    std::ostream* stream = nullptr;
    std::FILE* file = nullptr;   // the same, for the estimator's own lines
};

Lines LinesFor(const Options& o) {
    if (o.quiet)
        return Lines{};
    if (o.output == "-" || o.motion == "-")
        return Lines{&std::cerr, stderr};
    return Lines{&std::cout, stdout};
}

// Everything the run writes besides the output frames, opened after the checks.
struct Logs {
    std::FILE* mae = nullptr;
    MotionLog motion;

    ~Logs() {
        if (mae)
            std::fclose(mae);
    }
    bool Close(std::string* error) {
        bool ok = true;
        if (mae) {
            ok = std::fflush(mae) == 0 && !std::ferror(mae);
            ok = std::fclose(mae) == 0 && ok;
            mae = nullptr;
            if (!ok)
                *error = std::string(kMaeLog) + ": could not be written";
        }
        return motion.Close(ok ? error : &ignored) && ok;
    }
    std::string ignored;
};

std::unique_ptr<FrameInput> OpenInput(const std::string& name, std::string* error) {
    if (IsY4mName(name)) {
        auto input = std::make_unique<Y4mInput>(name);
        if (input->Open(error))
            return input;
    } else {
        auto input = std::make_unique<VidsInput>(name);
        if (input->Open(error))
            return input;
    }
    return nullptr;
}

}  // namespace

int Run(const Options& o) {
    CatchInterrupts();
    std::string error;

    // Input and outputs, checked before anything is created.
    std::unique_ptr<FrameInput> input = OpenInput(o.input, &error);
    if (!input)
        return Fail(error);
    std::unique_ptr<FrameOutput> output;
    if (IsY4mName(o.output))
        output = std::make_unique<Y4mOutput>(o.output);
    else
        output = std::make_unique<VidsOutput>(o.output);
    if (!output->Check(input->Files(), &error) || !CheckCreatable(kMaeLog, &error))
        return Fail(error);
    if (!o.motion.empty() && o.motion != "-") {
        if (!CheckCreatable(o.motion, &error))
            return Fail(error);
        for (const std::string& in : input->Files())
            if (SameFile(o.motion, in))
                return Fail(o.motion + ": would replace the input; give another name");
    }

    const Lines lines = LinesFor(o);
    gme::Settings settings;
    settings.log = lines.file;
    settings.exitOnFatalError = true;   // the command ends as the library documents
    gme::SequenceEstimator estimator(settings);
    const int width = input->Width(), height = input->Height();
    std::vector<unsigned char> sample(static_cast<size_t>(width) * static_cast<size_t>(height));

    // The first two samples are read before anything is created.
    auto read = [&](std::string* why) {
        const FrameInput::Result r = input->Next(sample.data(), why);
        if (r == FrameInput::Result::kError && Pending())
            return FrameInput::Result::kEnd;   // reported below as the interruption
        return r;
    };
    for (int k = 0; k < 2; ++k) {
        const FrameInput::Result r = read(&error);
        if (Pending()) {
            Fail(std::string("interrupted by ") + SignalName(Pending()) + "; nothing written");
            return 128 + Pending();
        }
        if (r == FrameInput::Result::kError)
            return Fail(error);
        if (r == FrameInput::Result::kEnd)
            return Fail(o.input + ": holds " + std::to_string(k) + (k == 1 ? " frame" : " frames") +
                        "; gme needs at least two");
        if (k == 0)
            estimator.push(sample.data(), width, height, width);
    }

    Logs logs;
    if (!output->Create(*input, &error))
        return Fail(error);
    logs.mae = std::fopen(kMaeLog, "w");
    if (!logs.mae) {
        output->Abandon();
        return Fail(std::string(kMaeLog) + ": " + std::strerror(errno));
    }
    if (!o.motion.empty() && !logs.motion.Open(o.motion, &error)) {
        output->Abandon();
        return Fail(error);
    }

    const long pairs = input->Count() >= 0 ? input->Count() - 1 : -1;
    RunStatistics statistics(pairs);
    // Ends the run early: status 1, or 128 + the signal when interrupted.
    auto stop = [&](long n, const std::string& message) {
        output->Abandon();
        logs.Close(&logs.ignored);
        if (o.progress)
            std::fputc('\n', stderr);   // below the progress line
        const int sig = Pending();
        if (sig == 0)
            return Fail(message);
        Fail(std::string("interrupted by ") + SignalName(sig) + " after frame " +
             std::to_string(n) + "; " + o.output + " holds the " +
             std::to_string(output->Written()) + " frames written");
        return 128 + sig;
    };
    for (long n = 1;; ++n) {
        if (lines.stream)
            *lines.stream << "processing frame: " << n << "......" << std::endl;
        const gme::PairResult r = *estimator.push(sample.data(), width, height, width);
        for (int copies = n == 1 ? 2 : 1; copies > 0; --copies)
            if (!output->Write(estimator.Compensated(), &error))
                return stop(n - 1, error);
        if (lines.stream) {
            if (n > 1) {
                *lines.stream << "Compensator time " << r.compensatorSeconds << std::endl;
                *lines.stream << "Estimator time " << r.estimatorSeconds << std::endl;
            }
            *lines.stream << "MAE: " << r.mae << std::endl;
        }
        std::fprintf(logs.mae, "%f ", r.mae);
        if (logs.motion.IsOpen())
            logs.motion.Add(n, r);
        statistics.Add(r);
        if (o.progress)
            statistics.ShowProgress(stderr, false);

        const FrameInput::Result next = Pending() ? FrameInput::Result::kEnd : read(&error);
        if (Pending() || next == FrameInput::Result::kError)
            return stop(n, error);
        if (next == FrameInput::Result::kEnd)
            break;
    }

    if (!output->Finish(&error) || !logs.Close(&error))
        return Fail(error);
    if (o.progress)
        statistics.ShowProgress(stderr, true);
    if (lines.stream)
        *lines.stream << "done" << std::endl;
    if (o.summary)
        std::fprintf(stderr, "%s\n", statistics.SummaryLine().c_str());
    return 0;
}

}  // namespace driver
