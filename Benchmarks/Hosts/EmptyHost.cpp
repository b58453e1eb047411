// The host without the library.

#include "Benchmarks/Hosts/Host.h"

int main(int argc, char **argv)
{
    return runHost(argc, argv, [] {});
}
