// In test programs that run under an emulator: a death test starts its program anew by execv(), and
// the host can't start that without the emulator. Stands in front of the C library's.
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

extern "C" __attribute__((visibility("default"))) int execv(const char* path,
                                                            char* const* arguments) noexcept
{
    std::vector<std::string> words;
    std::istringstream emulator(ZEVO_EMULATOR);
    for (std::string word; emulator >> word;)
        words.push_back(word);
    // The emulator is a program of the host, which the libraries are not for.
    if (const char* preload = std::getenv("LD_PRELOAD")) {
        words.insert(words.end(), {"-E", std::string("LD_PRELOAD=") + preload});
        unsetenv("LD_PRELOAD");
    }
    words.emplace_back(path);
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    while (*arguments)
        pointers.push_back(*++arguments);
    return execve(pointers[0], pointers.data(), environ);
}
