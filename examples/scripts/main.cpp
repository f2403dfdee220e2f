// SPDX-License-Identifier: GPL-3.0-or-later
#include "ScriptText.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QTextStream>

using namespace vantrel;

namespace {

constexpr int Done = 0;
constexpr int Failed = 1;
constexpr int WrongUsage = 2;

int fail(const QString &message, int code = Failed)
{
    QTextStream(stderr) << message << Qt::endl;
    return code;
}

int build(const QString &textPath, const QString &scriptPath)
{
    QFile textFile(textPath);
    if (!textFile.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("%1: %2").arg(textPath, textFile.errorString()));
    const ScriptBuild built = buildScript(textFile.readAll());
    if (textFile.error() != QFileDevice::NoError)
        return fail(QStringLiteral("%1: %2").arg(textPath, textFile.errorString()));
    if (!built.error.isEmpty())
        return fail(QStringLiteral("%1:%2: %3").arg(textPath).arg(built.line).arg(built.error));

    QSaveFile scriptFile(scriptPath);
    const bool written = scriptFile.open(QIODevice::WriteOnly) &&
                         scriptFile.write(built.script) == built.script.size() &&
                         scriptFile.commit();
    return written ? Done
                   : fail(QStringLiteral("%1: %2").arg(scriptPath, scriptFile.errorString()));
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3)
        return fail(QStringLiteral("Usage: vantrel-script IN.txt OUT.vn"), WrongUsage);
    return build(arguments[1], arguments[2]);
}
