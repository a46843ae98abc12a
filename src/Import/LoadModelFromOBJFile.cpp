#include "LoadModelFromOBJFile.h"

#include "GLTypes.h"
#include "ModelBuilder.h"
#include "ObjModelNames.h"
#include "ObjModelReader.h"

#include <QelGL/GPUModel.h>
#include <QelGL/InstanceData.h>

namespace Vardune::Qel {

struct ObjModelUpload
{
    // The builder is discarded right after, so the upload may free each stream once used.
    static void uploadOnce(ModelBuilder &builder, GPUModel *model, const InstanceData &instanceData)
    {
        builder._releasesUsedStreams = true;
        builder.upload(model, instanceData, ObjModelNames::positions(), QString(), GLType::StaticDraw, GLType::Triangles);
    }
};

GPUModel *loadModelFromOBJFile(const QString &path, QString &error)
{
    ModelBuilder builder(QSharedPointer<ModelDataStreamAllocator>(), 0);
    if (!readObjModel(path, builder, error))
        return nullptr;

    auto *model = new GPUModel;
    static const float identity[16] = { 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1 };
    InstanceData instanceData(QStringLiteral("InstanceInfo"));
    instanceData.set(QStringLiteral("ModelMatrix"), identity, sizeof identity);
    instanceData.set(QStringLiteral("PreviousModelMatrix"), identity, sizeof identity);
    instanceData.set(QStringLiteral("ModelNormalMatrix"), identity, sizeof identity);
    ObjModelUpload::uploadOnce(builder, model, instanceData);
    return model;
}

} // namespace Vardune::Qel
