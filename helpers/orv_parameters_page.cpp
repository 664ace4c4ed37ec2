// Writes the tables of docs/parameters.md from the table that components and tools share.
//
//     orv_parameters_page PAGE           puts the tables between the marks of the page
//     orv_parameters_page --check PAGE   changes nothing; fails where the page is out of date
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "OrvHelpers.h"

namespace {

// "0, 1, 3"; runs of three and more as "0 to 4".
std::string Algorithms(uint32_t mask) {
    std::string text;
    for (int first = 0; first < 32; ++first) {
        if ((mask >> first & 1U) == 0) {
            continue;
        }
        int last = first;
        while (last < 31 && (mask >> (last + 1) & 1U) != 0) {
            ++last;
        }
        text.append(text.empty() ? "" : ", ").append(std::to_string(first));
        if (last > first) {
            text.append(last > first + 1 ? " to " : ", ").append(std::to_string(last));
        }
        first = last;
    }
    return text.empty() ? "none" : text;
}

std::string Table(int family) {
    std::ostringstream out;
    out << "| Name | Default | Type | Range | Unit | Algorithms | Meaning |\n|---|---|---|---|---|---|---|\n";
    for (int i = 0; i < OrvParam_InfoCount(family); ++i) {
        const OrvParamInfo& info = *OrvParam_InfoAt(family, i);
        out << "| `" << info.name << "` | " << info.standardText << " | "
            << (info.type == OrvParamInteger ? "integer" : "float") << " | " << info.range << " | " << info.unit
            << " | " << Algorithms(info.algorithms) << " | " << info.meaning << " |\n";
    }
    return out.str();
}

// The page with `table` between the lines <!-- name --> and <!-- end -->; empty where the marks are missing.
std::string Replaced(const std::string& page, const std::string& name, const std::string& table) {
    const std::string mark = "<!-- " + name + " -->\n";
    const size_t begin = page.find(mark);
    const size_t end = begin == std::string::npos ? begin : page.find("<!-- end -->", begin);
    return end == std::string::npos ? "" : page.substr(0, begin + mark.size()) + table + page.substr(end);
}

}  // namespace

int main(int argc, char** argv) {
    const bool check = argc == 3 && std::strcmp(argv[1], "--check") == 0;
    if (argc != 2 && !check) {
        std::cerr << "orv_parameters_page: [--check] PAGE\n";
        return 2;
    }
    const char* path = argv[argc - 1];
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    const std::string page = text.str();
    const std::string made =
        Replaced(Replaced(page, "bayer", Table(OrvFamilyBayer)), "truesense", Table(OrvFamilyTrueSense));
    if (made.empty()) {
        std::cerr << "orv_parameters_page: " << path << " is no page with the marks of both tables\n";
        return 1;
    }
    if (check) {
        if (made != page) {
            std::cerr << "orv_parameters_page: the tables of " << path << " are out of date; run it without --check\n";
        }
        return made == page ? 0 : 1;
    }
    std::ofstream(path) << made;
    return 0;
}
