// Reads rich text, and prints how many characters and how many runs of formatting it has.

#include <Marblewick/NSAttributedString.h>

#include <QFile>

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    const auto text = Marblewick::NSAttributedString::initWithContentsOfFile(QFile::decodeName(argv[1]));
    if (!text)
        return 1;
    std::printf("%lld %zu\n", static_cast<long long>(text->string.size()), text->runs.size());
    return 0;
}
