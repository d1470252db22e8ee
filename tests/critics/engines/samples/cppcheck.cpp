#include <cstdio>
#include <cstdlib>

// Prints the last of three readings.
int last(int place) {
    int readings[3] = {4, 8, 15};
    char* label = static_cast<char*>(std::malloc(16));
    if (place < 0) return 0;
    std::printf("%s %d\n", label, readings[3]);
    std::free(label);
    return readings[place];
}
