// ModelBuilder call sequences decoded from the input, each followed by an upload into a
// GPUModel in a real OpenGL context. Whatever the calls left behind, the upload's contract check
// must refuse every stream it cannot read in full; the sanitizers see any read it lets through.
//
// Input: a list of operations, one byte each followed by its arguments. Names come from small
// sets so that calls meet each other's attributes and groups; counts are small but values,
// indices and corner counts are sometimes raw 32-bit numbers.

#include "FuzzSupport.h"
#include "GLTypes.h"
#include "MaterialLibrary.h"
#include "ModelBuilder.h"

#include <QelGL/GPUModel.h>
#include <QelGL/InstanceData.h>

#include <vector>

using namespace Vardune::Qel;

namespace {

const QString kAttributeNames[] = { QStringLiteral("p"), QStringLiteral("n"), QStringLiteral("t") };
const QString kGroupNames[] = { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") };
const QString kObjectNames[] = { QString(), QStringLiteral("box"), QStringLiteral("lid") };
// Scalar types of every size, and one code that is not a type.
const unsigned int kTypes[] = { GLType::Float, GLType::UnsignedInt, GLType::Int, GLType::UnsignedShort, GLType::Short,
    GLType::UnsignedByte, GLType::Byte, GLType::Double, GLType::HalfFloat, 0x1234 };
constexpr unsigned int kPoints = 0x0000;

enum class Operation : uint8_t {
    CreateAttribute,
    CreateGroup,
    AddValues,
    AddIndices,
    AddCounts,
    AddFaces,
    GenerateNormals,
    Clear,
    Upload,
    Count
};

template<typename T, size_t N>
const T &pick(FuzzSupport::ByteReader &input, const T (&choices)[N])
{
    return choices[input.byte() % N];
}

// count elements of up to 8 bytes each, from the input.
const void *elements(FuzzSupport::ByteReader &input, size_t count, std::vector<unsigned char> &buffer)
{
    buffer.assign(8 * count, 0);
    for (unsigned char &b : buffer)
        b = input.byte();
    return buffer.data();
}

// Mostly small numbers, where they meet real streams; sometimes any 32-bit number.
unsigned int number(FuzzSupport::ByteReader &input)
{
    const uint8_t b = input.byte();
    return b < 0xf0 ? b % 16 : input.u32();
}

InstanceData material(FuzzSupport::ByteReader &input)
{
    InstanceData data(QStringLiteral("OBJMaterial"));
    const float kd[3] = { input.gridFloat(), input.gridFloat(), input.gridFloat() };
    data.set(QStringLiteral("Kd"), kd, sizeof kd);
    return data;
}

void upload(ModelBuilder &builder, FuzzSupport::ByteReader &input)
{
    InstanceData instance(QStringLiteral("InstanceInfo"));
    const QString materialIdName = input.byte() % 2 ? QString() : QStringLiteral("materialId");
    const unsigned int primitive = input.byte() % 2 ? GLType::Triangles : kPoints;
    GPUModel model;
    builder.upload(&model, instance, pick(input, kAttributeNames), materialIdName, GLType::StaticDraw, primitive);
}

void apply(ModelBuilder &builder, Operation operation, FuzzSupport::ByteReader &input)
{
    std::vector<unsigned char> buffer;
    std::vector<unsigned int> numbers;
    switch (operation) {
    case Operation::CreateAttribute: {
        const QString &name = pick(input, kAttributeNames);
        const int components = input.byte() % 6;
        const unsigned int type = pick(input, kTypes);
        const size_t valueCount = input.byte() % 32;
        builder.createVertexAttribute(name, components, type, valueCount, input.byte() % 32);
        break;
    }
    case Operation::CreateGroup: {
        const QString &name = pick(input, kGroupNames);
        const InstanceData data = material(input);
        const int id = int8_t(input.byte());
        builder.createMaterialGroup(name, data, id, input.byte() % 4);
        break;
    }
    case Operation::AddValues: {
        const QString &name = pick(input, kAttributeNames);
        const unsigned int type = pick(input, kTypes);
        const size_t count = input.byte() % 64;
        builder.addValuesToVertexAttribute(name, count, elements(input, count, buffer), type);
        break;
    }
    case Operation::AddIndices:
    case Operation::AddCounts:
    case Operation::AddFaces: {
        const QString &name
            = operation == Operation::AddFaces ? pick(input, kGroupNames) : pick(input, kAttributeNames);
        numbers.resize(input.byte() % 32);
        for (unsigned int &n : numbers)
            n = number(input);
        if (operation == Operation::AddIndices)
            builder.addIndicesToVertexAttribute(name, numbers.size(), numbers.data());
        else if (operation == Operation::AddCounts)
            builder.addVertexCountsToFaces(numbers.size(), numbers.data());
        else
            builder.addFacesToMaterialGroup(name, numbers.size(), numbers.data(), pick(input, kObjectNames));
        break;
    }
    case Operation::GenerateNormals:
        builder.generateNormals(pick(input, kAttributeNames));
        break;
    case Operation::Clear:
        builder.clear();
        break;
    case Operation::Upload:
        upload(builder, input);
        break;
    case Operation::Count:
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzSupport::initialize(argc, argv, true);
    registerObjMaterialPlan();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::ByteReader input(data, size);
    ModelBuilder builder;
    while (!input.atEnd())
        apply(builder, Operation(input.byte() % uint8_t(Operation::Count)), input);
    upload(builder, input);
    return 0;
}
