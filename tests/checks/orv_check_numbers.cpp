// Compares hashes of the library's results with those in a file, which hold for every compiler, processor, instruction
// set and number of threads.
#include <getopt.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "checks/CheckNumbers.h"
#ifdef ORV_CHECK_LEVELS
#include "rows/Bands.h"
#include "rows/Simd.h"
static int Levels() { return static_cast<int>(orv::BestSimdLevel()) + 1; }
#else
static int Levels() { return 1; }
#endif

namespace {

using orvtest::CheckNumbers;
using orvtest::GroupNumber;

constexpr char kUsage[] =
    "usage: orv_check_numbers (--numbers FILE | --write FILE) [--only PREFIX] [--threads N,...] [--verbose]\n"
    "  --numbers FILE  compare with FILE; exit status 1 and the names of the groups that differ\n"
    "  --write FILE    write FILE\n"
    "  --only PREFIX   only groups whose names start so\n"
    "  --threads N,... teams of so many threads, else of 1, 2 and 5\n"
    "  --verbose       print every conversion\n";

struct Options {
    std::string numbers, write, only;
    std::vector<int> teams = {1, 2, 5};
    bool verbose = false;
};

[[noreturn]] void Fail(const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    std::exit(2);
}

Options Parse(int argc, char** argv) {
    const option names[] = {{"numbers", required_argument, nullptr, 'n'}, {"write", required_argument, nullptr, 'w'},
                            {"only", required_argument, nullptr, 'o'},    {"threads", required_argument, nullptr, 't'},
                            {"verbose", no_argument, nullptr, 'v'},       {nullptr, 0, nullptr, 0}};
    Options options;
    std::string item;
    for (int name = 0; (name = getopt_long(argc, argv, "", names, nullptr)) != -1;) {
        switch (name) {
        case 'n': options.numbers = optarg; break;
        case 'w': options.write = optarg; break;
        case 'o': options.only = optarg; break;
        case 't':
            options.teams.clear();
            for (std::stringstream list(optarg); std::getline(list, item, ',');) {
                options.teams.push_back(std::max(1, std::atoi(item.c_str())));
            }
            break;
        case 'v': options.verbose = true; break;
        default: Fail(kUsage);
        }
    }
    if (optind != argc || options.numbers.empty() == options.write.empty()) {
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

CheckNumbers Run(const Options& options, int level, int threads) {
#ifdef ORV_CHECK_LEVELS
    orv::SetSimdLevel(static_cast<orv::SimdLevel>(level));
    // Bands of two and of many threads are short, so that each has some, and in another order.
    orv::SetBandRows(threads == 2 ? 8 : threads > 5 ? 4 : 0);
    orv::SetBandOrder(threads == 2 || threads > 5 ? 3 : 0);
#else
    static_cast<void>(level);
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
        Write(options.write, Run(options, 0, 1));
        return 0;
    }
    const std::map<std::string, uint64_t> expected = Read(options.numbers);
    int failures = 0;
    size_t groups = 0;
    for (int level = 0; level < Levels(); ++level) {
        for (const int threads : options.teams) {
            const CheckNumbers numbers = Run(options, level, threads);
            groups += numbers.Groups().size();
            failures += Compare(expected, numbers, options,
                                "level " + std::to_string(level) + ", " + std::to_string(threads) + " threads");
        }
    }
    std::printf("%zu groups compared, %d differ\n", groups, failures);
    return failures == 0 && groups > 0 ? 0 : 1;
}
