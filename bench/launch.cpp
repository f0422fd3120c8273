// Starts a program and says how long it took from its exec to what it prints: the moment when it had its
// first answer.
//
//     launch PROGRAM ARGUMENTS…    prints "SECONDS PEAK-KIB MAPPED-KIB"
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>

extern char** environ;

int main(int argc, char** argv)
{
    std::array<int, 2> ends{};
    if (argc < 2 || pipe(ends.data()) != 0)
        return 1;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    pid_t child = 0;
    const double begin =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    if (posix_spawn(&child, argv[1], &actions, nullptr, argv + 1, environ) != 0)
        return 1;
    close(ends[1]);
    FILE* const output = fdopen(ends[0], "r");
    double answered = 0;
    long peak = 0;
    long mapped = 0;
    const bool said = std::fscanf(output, "%lf %ld %ld", &answered, &peak, &mapped) == 3;
    int status = 0;
    waitpid(child, &status, 0);
    if (!said || status != 0)
        return 1;
    std::printf("%.9f %ld %ld\n", answered - begin, peak, mapped);
    return 0;
}
