// An OBJ file and the MTL library it may name, imported and uploaded by loadModelFromOBJFile.
// The input is the OBJ text, optionally followed by a line "#mtl" and the text of "fuzz.mtl",
// the library that the OBJ text can name with "mtllib fuzz.mtl".

#include "FuzzSupport.h"
#include "LoadModelFromOBJFile.h"

#include <QelGL/GPUModel.h>

#include <memory>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzSupport::initialize(argc, argv, true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype split = input.indexOf("\n#mtl\n");
    const QByteArray obj = split < 0 ? input : input.left(split + 1);
    const QByteArray mtl = split < 0 ? QByteArray() : input.mid(split + 6);
    FuzzSupport::writeFile(QStringLiteral("fuzz.mtl"), mtl.constData(), size_t(mtl.size()));
    const QString path = FuzzSupport::writeFile(QStringLiteral("fuzz.obj"), obj.constData(), size_t(obj.size()));
    QString error;
    std::unique_ptr<Vardune::Qel::GPUModel> model(Vardune::Qel::loadModelFromOBJFile(path, error));
    return 0;
}
