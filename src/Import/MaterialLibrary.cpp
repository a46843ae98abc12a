// Materials of imported models: the "OBJMaterial" plan and the reading of MTL libraries into
// material groups. Each material starts cleared with only "d" = 1 and is added when the next
// "newmtl" line or the end of the file closes it.

#include "MaterialLibrary.h"

#include "ModelBuilder.h"
#include "MtlReader.h"

#include <QelGL/InstanceData.h>
#include <QelGL/InstanceDataPlan.h>
#include <QelGL/InstanceDataRegistry.h>

#include <QFile>
#include <QFileInfo>
#include <QTextStream>

namespace Vardune::Qel {

namespace {

const QString kPlanName = QStringLiteral("OBJMaterial");

void addMaterialGroup(const QString &name, const InstanceData &material, ModelBuilder &builder, QStringList *added)
{
    if (name.isNull() || builder.hasMaterialGroup(name))
        return;
    builder.createMaterialGroup(name, material, -1, 0);
    if (added)
        added->append(name);
}

void setFloats(InstanceData &material, const QString &member, const float *values, int count)
{
    material.set(member, values, static_cast<unsigned long long>(count) * sizeof(float));
}

// Applies one parsed line to the material being built; "newmtl" closes the previous one.
void applyLine(const MtlReader &reader, QString &currentName, InstanceData &material, ModelBuilder &builder,
    QStringList *added)
{
    switch (reader.lineType()) {
    case MtlLineType::NewMaterial: {
        addMaterialGroup(currentName, material, builder, added);
        material.clear();
        const float opaque = 1.0f;
        setFloats(material, QStringLiteral("d"), &opaque, 1);
        currentName = reader.lineName();
        break;
    }
    case MtlLineType::AmbientColor:
        setFloats(material, QStringLiteral("Ka"), reader.lineValues(), 3);
        break;
    case MtlLineType::DiffuseColor:
        setFloats(material, QStringLiteral("Kd"), reader.lineValues(), 3);
        break;
    case MtlLineType::SpecularColor:
        setFloats(material, QStringLiteral("Ks"), reader.lineValues(), 3);
        break;
    case MtlLineType::SpecularExponent:
        setFloats(material, QStringLiteral("Ns"), reader.lineValues(), 1);
        break;
    case MtlLineType::Dissolve:
        setFloats(material, QStringLiteral("d"), reader.lineValues(), 1);
        break;
    case MtlLineType::DiffuseMap:
        material.setTexture(QStringLiteral("map_Kd"), reader.lineName());
        break;
    case MtlLineType::SpecularMap:
        material.setTexture(QStringLiteral("map_Ks"), reader.lineName());
        break;
    case MtlLineType::AmbientMap:
        material.setTexture(QStringLiteral("map_Ka"), reader.lineName());
        break;
    case MtlLineType::SpecularExponentMap:
        material.setTexture(QStringLiteral("map_Ns"), reader.lineName());
        break;
    case MtlLineType::End:
    case MtlLineType::None:
        break;
    }
}

} // namespace

void registerObjMaterialPlan()
{
    static const bool registered = [] {
        auto *plan = new InstanceDataPlan(kPlanName);
        plan->addMember(InstanceDataPlan::Float, QStringLiteral("Ns"));
        plan->addMember(InstanceDataPlan::Float, QStringLiteral("d"));
        plan->addMember(InstanceDataPlan::Vec3, QStringLiteral("Kd"));
        plan->addMember(InstanceDataPlan::Vec3, QStringLiteral("Ks"));
        plan->addMember(InstanceDataPlan::Vec3, QStringLiteral("Ke"));
        plan->addMember(InstanceDataPlan::Texture, QStringLiteral("map_Ns"));
        plan->addMember(InstanceDataPlan::Texture, QStringLiteral("map_Kd"));
        plan->addMember(InstanceDataPlan::Texture, QStringLiteral("map_Ks"));
        plan->addMember(InstanceDataPlan::Texture, QStringLiteral("map_Ke"));
        InstanceDataRegistry::Instance().registerPlan(plan);
        return true;
    }();
    Q_UNUSED(registered);
}

bool loadMaterialLibrary(const QString &path, ModelBuilder &builder, QStringList *addedGroups)
{
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    registerObjMaterialPlan();

    QTextStream text(&file);
    MtlReader reader(&text, true);
    reader.setDirectory(QFileInfo(path).dir().absolutePath());

    QString currentName;
    InstanceData material(kPlanName);
    while (reader.hasLine()) {
        if (reader.parse())
            applyLine(reader, currentName, material, builder, addedGroups);
        reader.advance();
    }
    addMaterialGroup(currentName, material, builder, addedGroups);
    return true;
}

} // namespace Vardune::Qel
