// The OBJ text scanner against the plain reading through Qt's own calls (tests/import's
// reference reader): the same gathered arrays, byte for byte, or the target aborts with the
// first difference. The input is the file's text.

#include "FuzzSupport.h"
#include "ObjScanDifference.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzSupport::initialize(argc, argv, false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = FuzzSupport::writeFile(QStringLiteral("fuzz.obj"), reinterpret_cast<const char *>(data), size);
    const QString difference = Vardune::Qel::objScanDifference(path);
    if (!difference.isNull()) {
        std::fprintf(stderr, "the scan and the reference reading differ: %s\n", qPrintable(difference));
        std::abort();
    }
    return 0;
}
