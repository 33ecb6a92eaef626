#include <limits>

#include <benchmark/benchmark.h>
#include <malloc.h>

// Pages that the heap has been given stay with it. Otherwise every round that builds and frees a container would pay
// the system for fresh pages, one side or the other by chance.
int main(int argumentCount, char** arguments) {
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_MMAP_THRESHOLD, std::numeric_limits<int>::max());
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
