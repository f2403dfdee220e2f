// SPDX-License-Identifier: GPL-3.0-or-later
//
// The whole console for an hour, or so long: a user who does everything in no order, and a tester
// at which something happens or breaks now and then. It must not hang, grow, or log anything but
// what the tester sent.
#include "Soak.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QPixmapCache>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <mutex>
#include <random>

using namespace vantrel;

namespace {

constexpr const char *DefaultMinutes = "60";

std::mutex warningsMutex;
QStringList warnings; // of Qt, but for those about what the machine or its platform does without

void keepWarning(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    if (type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qUtf8Printable(text));
    const bool ofMachine = text.startsWith(QLatin1String("This plugin does not support")) ||
                           text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR"));
    if (type == QtDebugMsg || type == QtInfoMsg || ofMachine)
        return;
    const std::lock_guard lock(warningsMutex);
    if (!warnings.contains(text))
        warnings.append(text);
}

struct Request
{
    double minutes;
    quint32 seed;
};

Request readCommandLine(const QApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Uses the console until it breaks."));
    parser.addPositionalArgument(QStringLiteral("MINUTES"), QStringLiteral("how long (60)"),
                                 QStringLiteral("[MINUTES]"));
    const QCommandLineOption seed(QStringLiteral("seed"), QStringLiteral("repeats the choices."),
                                  QStringLiteral("N"));
    parser.addOption(seed);
    parser.addHelpOption();
    parser.process(application);

    bool minutesOk = false;
    const QString minutes =
        parser.positionalArguments().value(0, QString::fromLatin1(DefaultMinutes));
    Request request{minutes.toDouble(&minutesOk), std::random_device()()};
    bool seedOk = true;
    if (parser.isSet(seed))
        request.seed = parser.value(seed).toUInt(&seedOk);
    if (!minutesOk || request.minutes <= 0 || !seedOk)
        parser.showHelp(2);
    return request;
}

QCoro::Task<> run(soak::Soak &soak)
{
    const int result = co_await soak.run();
    QApplication::exit(result);
}

} // namespace

int main(int argc, char **argv)
{
    // Qt's file dialogs keep settings of their own: not the user's, and not those of another soak,
    // for whose lock they would wait.
    QTemporaryDir directory;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(directory.path()));
    qInstallMessageHandler(keepWarning);
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    QApplication::setQuitOnLastWindowClosed(false);
    // Every file dialog adds icons of its own, up to 10 MB. clear() would leave the keys behind.
    QPixmapCache::setCacheLimit(0);
    const Request request = readCommandLine(application);
    std::printf("Soak of %g minutes, seed %u\n", request.minutes, request.seed);
    std::fflush(stdout);

    int result = 0;
    try {
        soak::Soak soak(request.minutes * 60, request.seed, directory.path());
        QTimer::singleShot(0, [&soak] { run(soak); });
        result = QApplication::exec();
    } catch (const soak::SoakFailure &failure) {
        std::printf("FAILED: %s\n", failure.what());
        result = 1;
    }
    if (!warnings.isEmpty()) {
        std::printf("FAILED: warnings of Qt:\n%s\n",
                    qUtf8Printable(warnings.join(QLatin1Char('\n'))));
        result = 1;
    }
    if (result != 0) {
        directory.setAutoRemove(false);
        std::printf("Files: %s\n", qUtf8Printable(directory.path()));
    }
    return result;
}
