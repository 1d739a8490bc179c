#include "Commands.h"
#include "Console.h"
#include "ExitCode.h"
#include "Interrupt.h"

#include "base/JsonWriter.h"
#include "run/BackupError.h"
#include "verify/Verifier.h"

#include <iostream>

namespace lorekeep::cli {

int runVerify(const VerifyOptions& options, Console& console, const Interrupt& interrupt) {
    VerifyResult result;
    try {
        result = Verifier().verify(
            options.destination, options.minimumSample, options.sampleFraction,
            [&](const VerifyProgress& progress) { console.progress("Verifying", progress.done, progress.total); },
            interrupt.token());
    } catch (const BackupError& error) {
        console.message(error.what());
        return preconditionFailed;
    } catch (const std::exception& error) {
        console.message(std::string("verify failed: ") + error.what());
        return preconditionFailed;
    }
    console.endProgress();

    if (options.json) {
        JsonWriter writer({.pretty = true, .escapeSlashes = false});
        result.encode(writer);
        std::cout << writer.output() << "\n";
    } else if (result.cancelled) {
        std::cout << "Verification stopped; " << grouped(static_cast<std::int64_t>(result.problems.size()))
                  << " problems found so far.\n";
    } else if (result.problems.empty()) {
        std::cout << "Verified " << grouped(result.checked) << " files, all good.\n";
    } else {
        std::cout << grouped(static_cast<std::int64_t>(result.problems.size()))
                  << " files failed verification; the next backup copies them again.\n";
        for (const std::string& problem : result.problems)
            std::cout << "  " << problem << "\n";
    }
    if (result.cancelled)
        return finishedWithProblems;
    return result.problems.empty() ? clean : finishedWithProblems;
}

} // namespace lorekeep::cli
