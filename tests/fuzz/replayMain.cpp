// SPDX-License-Identifier: MIT
#include "fuzz/FuzzTarget.h"
#include "platform/Logging.h"
#include "support/PrivateHome.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace
{

/// Hands every file of a folder to the target; returns how many there were. The last name to be printed is
/// the one that failed.
int replay(const QString &folder)
{
    int count = 0;
    for (QDirIterator files(folder, QDir::Files); files.hasNext(); ++count) {
        QFile file(files.next());
        std::puts(qUtf8Printable(file.fileName()));
        std::fflush(stdout);
        if (!file.open(QIODevice::ReadOnly)) {
            std::puts("cannot be read");
            return 0;
        }
        const QByteArray input = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.constData()),
                               std::size_t(input.size()));
    }
    return count;
}

} // namespace

/// Takes the corpus and, where there are any, the findings.
int main(int argc, char **argv)
{
    const kavrin::test::PrivateHome home;
    kavrin::Logging::setUp();
    int count = 0;
    for (int argument = 1; argument < argc; ++argument) {
        count += replay(QString::fromLocal8Bit(argv[argument]));
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
