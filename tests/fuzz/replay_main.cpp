// In an ordinary build a fuzz target replays the files, or the files of the directories, that it is given.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv)
{
    std::size_t count = 0;
    const auto replay = [&count](const std::filesystem::path& path) {
        std::ifstream file{path, std::ios::binary};
        const std::vector<char> bytes{std::istreambuf_iterator<char>{file}, {}};
        // Who aborts has said on which file.
        std::fprintf(stderr, "%s\n", path.c_str());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++count;
    };
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            replay(argv[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
            replay(entry.path());
    }
    std::printf("%zu inputs replayed\n", count);
    return count != 0 ? 0 : 1;
}
