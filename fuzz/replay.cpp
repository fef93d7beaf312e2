#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <set>

#include "input.h"

/// Runs a target over files and over spoilt copies of them, which are the same ones every time.
/// Usage: replay COPIES PATH...
int main(int argc, char** argv) {
    std::set<std::filesystem::path> files;
    for (int i = 2; i < argc; ++i) {
        files.insert(std::filesystem::recursive_directory_iterator(argv[i]), {});
    }
    std::vector<std::string> inputs = {""};
    for (const auto& file : files) {
        std::ifstream stream(file, std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
        std::cout << file.filename().string() << std::endl;  // flushed, so that the last name tells where it ended
        moraine::fuzz::check(moraine::fuzz::Input(inputs.back()));
    }
    std::mt19937 random(1);  // NOLINT: a failure shall come again
    const auto copies = argc > 1 ? std::stoi(argv[1]) : 0;
    for (int copy = 0; copy < copies; ++copy) {
        const std::string& other = inputs[random() % inputs.size()];
        std::string input = inputs[random() % inputs.size()];
        for (std::size_t changes = 1 + random() % 8; changes > 0; --changes) {
            const std::size_t place = random() % (input.size() + 1), length = random() % 16;
            if (random() % 2 == 0) {
                input.insert(place, other.substr(random() % (other.size() + 1), length));
            } else if (place < input.size()) {
                random() % 2 == 0 ? input.erase(place, length)
                                  : input.replace(place, 1, 1, static_cast<char>(random()));
            }
        }
        moraine::fuzz::check(moraine::fuzz::Input(input));
    }
    std::cout << files.size() << " files, " << copies << " spoilt copies\n";
    return files.empty() ? 1 : 0;
}
