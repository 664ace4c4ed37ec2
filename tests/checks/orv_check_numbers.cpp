// Compares hashes of the library's results with those in a file, which hold for every compiler, processor, instruction
// set and number of threads.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "checks/CheckNumbers.h"
#ifdef ORV_CHECK_LEVELS
#include "rows/Bands.h"
#include "rows/Simd.h"
#endif

namespace {

using orvtest::CheckNumbers;
using orvtest::GroupNumber;

constexpr char kUsage[] =
    "usage: orv_check_numbers (--numbers FILE | --write FILE) [--only PREFIX] [--threads N] [--level N] [--verbose]\n"
    "  --numbers FILE  compare with FILE; exit status 1 and the names of the groups that differ\n"
    "  --write FILE    write FILE\n"
    "  --only PREFIX   only groups whose names start so\n"
    "  --threads N     only teams of N threads, else 1, 2 and 5\n"
    "  --level N       only that instruction-set level, where the program can choose\n"
    "  --verbose       print every conversion\n";

struct Options {
    std::string numbers, write, only;
    int threads = 0;
    int level = -1;
    bool verbose = false;
};

[[noreturn]] void Fail(const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    std::exit(2);
}

Options Parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        const auto value = [&] { return i + 1 < argc ? std::string(argv[++i]) : (Fail(kUsage), std::string()); };
        if (name == "--numbers") {
            options.numbers = value();
        } else if (name == "--write") {
            options.write = value();
        } else if (name == "--only") {
            options.only = value();
        } else if (name == "--threads") {
            options.threads = std::atoi(value().c_str());
        } else if (name == "--level") {
            options.level = std::atoi(value().c_str());
        } else if (name == "--verbose") {
            options.verbose = true;
        } else {
            Fail(kUsage);
        }
    }
    if (options.numbers.empty() == options.write.empty()) {
        Fail(kUsage);
    }
    return options;
}

std::map<std::string, uint64_t> Read(const std::string& path) {
    std::ifstream file(path);
    std::map<std::string, uint64_t> expected;
    for (std::string name, hash; file >> name >> hash;) {
        expected[name] = std::strtoull(hash.c_str(), nullptr, 16);
    }
    if (expected.empty()) {
        Fail("no numbers in " + path);
    }
    return expected;
}

void Write(const std::string& path, const CheckNumbers& numbers) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (file == nullptr) {
        Fail("cannot write " + path);
    }
    for (const GroupNumber& group : numbers.Groups()) {
        std::fprintf(file, "%s %016" PRIx64 "\n", group.name.c_str(), group.hash);
    }
    std::fclose(file);
}

// The number of groups that differ from the file or stand on one side only.
int Compare(std::map<std::string, uint64_t> expected, const CheckNumbers& numbers, const Options& options,
            const std::string& run) {
    int failures = 0;
    for (const GroupNumber& group : numbers.Groups()) {
        const auto found = expected.find(group.name);
        if (found == expected.end() || found->second != group.hash) {
            std::printf("%s: %s %s\n", run.c_str(), group.name.c_str(),
                        found == expected.end() ? "is not in the file" : "differs");
            ++failures;
        }
        expected.erase(group.name);
    }
    for (const auto& entry : expected) {
        if (entry.first.compare(0, options.only.size(), options.only) == 0) {
            std::printf("%s: %s is in the file only\n", run.c_str(), entry.first.c_str());
            ++failures;
        }
    }
    return failures;
}

int Levels() {
#ifdef ORV_CHECK_LEVELS
    return static_cast<int>(orv::BestSimdLevel()) + 1;
#else
    return 1;
#endif
}

void SetLevel(int level) {
#ifdef ORV_CHECK_LEVELS
    orv::SetSimdLevel(static_cast<orv::SimdLevel>(level));
#else
    static_cast<void>(level);
#endif
}

CheckNumbers Run(const Options& options, int threads) {
#ifdef ORV_CHECK_LEVELS
    // One of the teams has short bands in another order.
    orv::SetBandRows(threads == 2 ? 8 : 0);
    orv::SetBandOrder(threads == 2 ? 3 : 0);
#endif
    CheckNumbers numbers(options.only, options.verbose);
    orvtest::CheckTrueSense(numbers, threads);
    orvtest::CheckBayer(numbers);
    return numbers;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = Parse(argc, argv);
    if (!options.write.empty()) {
        Write(options.write, Run(options, 1));
        return 0;
    }
    const std::map<std::string, uint64_t> expected = Read(options.numbers);
    const std::vector<int> teams = options.threads > 0 ? std::vector<int>{options.threads} : std::vector<int>{1, 2, 5};
    int failures = 0;
    size_t groups = 0;
    for (int level = 0; level < Levels(); ++level) {
        if (options.level >= 0 && level != options.level) {
            continue;
        }
        SetLevel(level);
        for (const int threads : teams) {
            const CheckNumbers numbers = Run(options, threads);
            groups += numbers.Groups().size();
            failures += Compare(expected, numbers, options,
                                "level " + std::to_string(level) + ", " + std::to_string(threads) + " threads");
        }
    }
    std::printf("%zu groups compared, %d differ\n", groups, failures);
    return failures == 0 && groups > 0 ? 0 : 1;
}
