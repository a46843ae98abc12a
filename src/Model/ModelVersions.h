#pragma once

#include "qelmodel_export.h"

#include <QString>

namespace Vardune::Qel {

// Which build of the library is loaded.
class QELMODEL_EXPORT ModelVersions
{
public:
    // "1.0.0".
    static QString getVersion();
    // The 40 lowercase hexadecimal digits of the source revision the build was made from.
    static QString getGitHash();
    // "1".
    static QString getMd5Sum();
};

// The same answers under the name that exporters of the library's data use.
class QELMODEL_EXPORT ModelExportVersions : public ModelVersions
{
};

} // namespace Vardune::Qel
