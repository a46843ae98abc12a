// make-examples DIRECTORY: writes the example models into DIRECTORY (examples/ in the tree).

#include "ExampleModels.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QTextStream err(stderr);
    const QStringList arguments = application.arguments().mid(1);
    if (arguments.size() != 1) {
        err << "usage: make-examples DIRECTORY\n";
        return 2;
    }
    const QDir directory(arguments.first());
    if (!directory.mkpath(QStringLiteral("."))) {
        err << "make-examples: cannot make the directory '" << arguments.first() << "'\n";
        return 1;
    }
    const bool written = ExampleModels::writeTexturedCube(directory) && ExampleModels::writeStar(directory)
        && ExampleModels::writeTorus(directory) && ExampleModels::writeBlocks(directory);
    if (!written) {
        err << "make-examples: cannot write into '" << directory.absolutePath() << "'\n";
        return 1;
    }
    return 0;
}
