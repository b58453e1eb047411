#pragma once

#include <functional>
#include <string>
#include <vector>

/*! Measures two ways to do the same work, in turn, so that both meet the machine in the same state. */
struct Comparison
{
    /*! One measurement each. */
    std::function<double()> ours;
    std::function<double()> peer;
    int repetitions = 15;

    struct Medians
    {
        double ours = 0;
        double peer = 0;
        double difference = 0; ///< the median of ours - peer, pair by pair
    };
    /*! Runs each once to warm up, then in pairs. */
    Medians run() const;
};

double median(std::vector<double> values);

/*! Seconds that a piece of work takes. */
double secondsOf(const std::function<void()> &work);

/*! Prints a row: what was measured, both figures, and how they compare with what is promised. */
void printRatio(const std::string &what, const Comparison::Medians &medians, const std::string &unit,
                const std::string &promise);
void printDifference(const std::string &what, const Comparison::Medians &medians, const std::string &unit,
                     const std::string &promise);
