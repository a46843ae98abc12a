// MTL file bytes, read into a builder's material groups through loadMaterialLibrary.

#include "FuzzSupport.h"
#include "MaterialLibrary.h"
#include "ModelBuilder.h"

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzSupport::initialize(argc, argv, false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = FuzzSupport::writeFile(QStringLiteral("fuzz.mtl"), reinterpret_cast<const char *>(data), size);
    Vardune::Qel::ModelBuilder builder;
    Vardune::Qel::loadMaterialLibrary(path, builder);
    return 0;
}
