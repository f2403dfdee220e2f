// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

/// Draws an SVG file as FOLDER/NxN/apps/NAME.png for each size N, the layout of an icon theme.
/// Run by the build only.
int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    if (arguments.size() < 3) {
        std::fputs("usage: vantrel-icons FILE.svg FOLDER SIZE...\n", stderr);
        return 2;
    }
    QSvgRenderer picture(arguments.at(0));
    if (!picture.isValid()) {
        std::fprintf(stderr, "vantrel-icons: %s: not an SVG file\n", argv[1]);
        return 1;
    }
    const QString name = QFileInfo(arguments.at(0)).completeBaseName();
    for (const QString &size : arguments.mid(2)) {
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(arguments.at(1), size);
        const QString path = QStringLiteral("%1/%2.png").arg(folder, name);
        QImage image(size.toInt(), size.toInt(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        picture.render(&painter);
        painter.end();
        if (!QDir().mkpath(folder) || !image.save(path)) {
            std::fprintf(stderr, "vantrel-icons: cannot write %s\n", qPrintable(path));
            return 1;
        }
    }
    return 0;
}
