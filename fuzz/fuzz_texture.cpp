// Image bytes of any format, loaded into a texture by LoadTexture. Textures are cached by path
// for the life of the process, so every input gets a file name of its own; the decoder's
// allocation limit is lowered to keep the few images that decode from filling the memory.

#include "FuzzSupport.h"
#include "LoadTexture.h"

#include <QFile>
#include <QImageReader>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzSupport::initialize(argc, argv, true);
    QImageReader::setAllocationLimit(4);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static unsigned long long inputNumber = 0;
    // A new name for every input, since a cached path would never be read again.
    const QString name = QStringLiteral("image%1").arg(inputNumber++);
    const QString path = FuzzSupport::writeFile(name, reinterpret_cast<const char *>(data), size);
    Vardune::Qel::LoadTexture(path);
    QFile::remove(path);
    return 0;
}
