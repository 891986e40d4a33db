// What reading two documents costs at least with the XML library as it comes: both parsed, one
// after the other, on one thread and with the library's own memory. A program of its own, so that
// nothing of the product changes what it measures.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <pugixml.hpp>

namespace {

constexpr unsigned parseOptions = pugi::parse_default | pugi::parse_pi | pugi::parse_comments |
                                  pugi::parse_fragment | pugi::parse_embed_pcdata;

std::string bytesOf(const char* path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string bytes(file ? static_cast<size_t>(file.tellg()) : 0, '\0');
    file.seekg(0);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        (void)std::fputs("usage: larkspan-parse-reference NEW OLD\n", stderr);
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    std::string newBytes = bytesOf(argv[1]);
    std::string oldBytes = bytesOf(argv[2]);
    pugi::xml_document newTree;
    pugi::xml_document oldTree;
    const bool areRead =
        newTree.load_buffer_inplace(newBytes.data(), newBytes.size(), parseOptions) &&
        oldTree.load_buffer_inplace(oldBytes.data(), oldBytes.size(), parseOptions);
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    if (!areRead) {
        (void)std::fputs("one is no document\n", stderr);
        return EXIT_FAILURE;
    }
    (void)std::printf("ms %.1f\n", passed.count());
    return EXIT_SUCCESS;
}
