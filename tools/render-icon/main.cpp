// Renders the application icon's SVG as PNG files at the sizes desktops look for, laid out
// as an icon theme folder: OUTPUT/hicolor/NxN/apps/NAME.png.
//
//   tolm-render-icon ICON.svg OUTPUT_FOLDER SIZE...

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv)
{
    // Built and run during the build, where there is no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 4) {
        std::fprintf(stderr, "usage: tolm-render-icon ICON.svg OUTPUT_FOLDER SIZE...\n");
        return 2;
    }
    QSvgRenderer svg(args.at(1));
    if (!svg.isValid()) {
        std::fprintf(stderr, "tolm-render-icon: cannot read %s\n", qPrintable(args.at(1)));
        return 1;
    }
    const QString name = QFileInfo(args.at(1)).completeBaseName();
    for (const QString& text : args.mid(3)) {
        const int size = text.toInt();
        if (size <= 0) {
            std::fprintf(stderr, "tolm-render-icon: %s is not a size\n", qPrintable(text));
            return 2;
        }
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        svg.render(&painter);
        painter.end();
        const QString folder = QStringLiteral("%1/hicolor/%2x%2/apps").arg(args.at(2)).arg(size);
        if (!QDir().mkpath(folder) || !image.save(folder + QLatin1Char('/') + name + QStringLiteral(".png"))) {
            std::fprintf(stderr, "tolm-render-icon: cannot write into %s\n", qPrintable(folder));
            return 1;
        }
    }
    return 0;
}
