#include "BenchSupport.h"

#include "base/Sha256.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace lorekeep::bench {

ScratchDir::ScratchDir() {
    const char* base = std::getenv("LOREKEEP_BENCH_DIR");
    std::string pattern =
        ((base ? std::filesystem::path(base) : std::filesystem::temp_directory_path()) / "lorekeep-bench-XXXXXX")
            .string();
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("cannot create a scratch folder");
    m_path = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

double timeCommand(const std::string& command) {
    const auto start = std::chrono::steady_clock::now();
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0)
        throw std::runtime_error("command failed: " + command);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

ChildRun runChild(const std::vector<std::string>& arguments, const std::filesystem::path& errors) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0)
        throw std::runtime_error("cannot make a pipe");
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child < 0)
        throw std::runtime_error("cannot start " + arguments.front());
    if (child == 0) {
        ::dup2(pipeEnds[1], STDOUT_FILENO);
        ::close(pipeEnds[0]);
        ::close(pipeEnds[1]);
        const int errorFile = ::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (errorFile >= 0)
            ::dup2(errorFile, STDERR_FILENO);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(pipeEnds[1]);
    ChildRun run;
    char buffer[65536];
    for (ssize_t got; (got = ::read(pipeEnds[0], buffer, sizeof buffer)) != 0;) {
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            break;
        run.output.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(pipeEnds[0]);
    int status = 0;
    rusage usage{};
    while (::wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.peakRssMiB = static_cast<double>(usage.ru_maxrss) / 1024.0;
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

double peakRssMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void writeNoiseFile(const std::filesystem::path& path, std::int64_t bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    std::mt19937_64 random(42);
    std::vector<std::uint64_t> block(1 << 17); // 1 MiB
    while (bytes > 0) {
        for (auto& word : block)
            word = random();
        const auto count = std::min<std::int64_t>(bytes, static_cast<std::int64_t>(block.size() * 8));
        out.write(reinterpret_cast<const char*>(block.data()), count);
        bytes -= count;
    }
    if (!out.flush())
        throw std::runtime_error("cannot write " + path.string());
}

BackupIndex syntheticIndex(std::size_t assets, std::size_t files) {
    std::mt19937_64 random(1);
    BackupIndex index;
    char id[64];
    for (std::size_t i = 0; i < assets; ++i) {
        const std::uint64_t a = random(), b = random();
        std::snprintf(id, sizeof id, "%08X-%04X-%04X-%04X-%012llX/L0/001", static_cast<unsigned>(a >> 32),
                      static_cast<unsigned>(a >> 16) & 0xffff, static_cast<unsigned>(a) & 0xffff,
                      static_cast<unsigned>(b >> 48), static_cast<unsigned long long>(b & 0xffffffffffffULL));
        // Spread the files: every asset has an original, the rest are Live Photo videos and edits.
        const std::size_t count = files / assets + (i < files % assets ? 1 : 0);
        const std::string stem = "By Date/2024/05/20240505_140327_" + std::string(id, 8);
        IndexedAsset entry{.modificationDate =
                               Date::fromReferenceSeconds(6e8 + static_cast<double>(random() % 150000000) +
                                                          static_cast<double>(random() % 1000000) / 1e6)};
        static constexpr FileRole roles[] = {FileRole::original, FileRole::livePhotoVideo, FileRole::edited,
                                             FileRole::editedLiveVideo, FileRole::rawPartner};
        for (std::size_t f = 0; f < count; ++f) {
            const FileRole role = roles[f % 5];
            const std::string path = stem + (role >= FileRole::edited ? "_edit" : "") + (f % 2 ? ".mov" : ".heic");
            const std::string seed = std::string(id) + std::to_string(f);
            const Sha256::Digest digest = Sha256::of(seed);
            IndexedFile file{role, path, Sha256::hex(digest.data(), digest.size()),
                             static_cast<std::int64_t>(random() % 50'000'000)};
            if (f % 2 == 1 && role != FileRole::livePhotoVideo && role != FileRole::editedLiveVideo)
                file.xmpPath = stem + ".xmp";
            entry.files.push_back(std::move(file));
        }
        index.assets.emplace(id, std::move(entry));
    }
    index.lastSuccessfulRun = Date::fromReferenceSeconds(785000000.25);
    index.changeToken = std::string(120, 'Q');
    index.scopeKey = "albums=all;photos=true;videos=true;from=-;sharedLibrary=false;shared=false";
    return index;
}

std::string shellQuote(const std::filesystem::path& path) {
    std::string quoted = "'";
    for (char c : path.string()) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    return quoted + "'";
}

} // namespace lorekeep::bench
