#include "ModelVersions.h"

#include "ModelRevision.h"

namespace Vardune::Qel {

QString ModelVersions::getVersion()
{
    return QString::fromLatin1("1.0.0");
}

QString ModelVersions::getGitHash()
{
    return QString::fromLatin1(QELMODEL_GIT_HASH);
}

QString ModelVersions::getMd5Sum()
{
    return QString::fromLatin1("1");
}

} // namespace Vardune::Qel
