#include "RunParser.h"

#include "history/CaptureFile.h"
#include "platform/Error.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

// The reader takes a file name, so each input goes through a real file.
QString historyFileHolding(const QByteArray &bytes)
{
    static const QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("captures.json"));
    // A new file each time: ext4 flushes a truncated file to disk on close,
    // which cost milliseconds per input.
    QFile::remove(fileName);
    QFile file(fileName);
    if (!folder.isValid() || !file.open(QIODevice::WriteOnly | QIODevice::NewOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(fileName));
    return fileName;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return airnote::runParser<airnote::JsonError>(data, size, [](const QByteArray &bytes) {
        airnote::CaptureFile(historyFileHolding(bytes)).read();
    });
}
