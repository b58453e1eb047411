#include "Benchmarks/Comparison.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double secondsOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Comparison::Medians Comparison::run() const
{
    ours();
    peer();
    std::vector<double> oursValues;
    std::vector<double> peerValues;
    std::vector<double> differences;
    for (int i = 0; i < repetitions; ++i) {
        oursValues.push_back(ours());
        peerValues.push_back(peer());
        differences.push_back(oursValues.back() - peerValues.back());
    }
    return {median(oursValues), median(peerValues), median(differences)};
}

void printRatio(const std::string &what, const Comparison::Medians &medians, const std::string &unit,
                const std::string &promise)
{
    std::printf("%-64s %9.2f %-4s peer %9.2f %-4s ratio %6.3f   (%s)\n", what.c_str(), medians.ours,
                unit.c_str(), medians.peer, unit.c_str(), medians.ours / medians.peer, promise.c_str());
    std::fflush(stdout);
}

void printDifference(const std::string &what, const Comparison::Medians &medians, const std::string &unit,
                     const std::string &promise)
{
    std::printf("%-64s %9.2f %-4s peer %9.2f %-4s adds %6.2f   (%s)\n", what.c_str(), medians.ours,
                unit.c_str(), medians.peer, unit.c_str(), medians.difference, promise.c_str());
    std::fflush(stdout);
}
