#include "ui/SubViewController.h"

#include "base/SystemLog.h"
#include "ui/AMShapedButton.h"
#include "ui/CustomView.h"
#include "ui/FloatSlider.h"
#include "ui/ImageNamed.h"
#include "ui/MeterScaleView.h"
#include "ui/MeteringView.h"
#include "ui/PictureView.h"
#include "ui/TolmTextView.h"
#include "ui/TrackCheckView.h"
#include "ui/TrackNameField.h"

#include <QFile>
#include <QMetaMethod>
#include <QUiLoader>
#include <cstdio>
#include <functional>
#include <map>

namespace Tolm::Ui {

namespace {

// Builds the program's own classes where an interface file names them.
class PanelLoader : public QUiLoader {
public:
    PanelLoader()
    {
        // The texts are keys; the panels localise them themselves after loading.
        setTranslationEnabled(false);
    }

    QWidget* createWidget(const QString& className, QWidget* parent, const QString& name) override
    {
        using Factory = std::function<QWidget*(QWidget*)>;
        static const std::map<QString, Factory> factories{
            {QStringLiteral("CustomView"), [](QWidget* p) { return new CustomView(p); }},
            {QStringLiteral("MeteringView"), [](QWidget* p) { return new MeteringView(p); }},
            {QStringLiteral("MeterScaleView"), [](QWidget* p) { return new MeterScaleView(p); }},
            {QStringLiteral("AMShapedButton"), [](QWidget* p) { return new AMShapedButton(p); }},
            {QStringLiteral("TolmTextView"), [](QWidget* p) { return new TolmTextView(p); }},
            {QStringLiteral("FloatSlider"), [](QWidget* p) { return new FloatSlider(p); }},
            {QStringLiteral("TrackNameField"), [](QWidget* p) { return new TrackNameField(p); }},
            {QStringLiteral("PictureView"), [](QWidget* p) { return new PictureView(p); }},
            {QStringLiteral("TrackCheckView"), [](QWidget* p) { return new TrackCheckView(p); }},
        };
        const auto factory = factories.find(className);
        if (factory == factories.end())
            return QUiLoader::createWidget(className, parent, name);
        QWidget* widget = factory->second(parent);
        widget->setObjectName(name);
        return widget;
    }
};

void Awake(QObject* object)
{
    const QMetaObject* meta = object->metaObject();
    if (meta->indexOfMethod("awakeFromNib()") >= 0)
        QMetaObject::invokeMethod(object, "awakeFromNib", Qt::DirectConnection);
}

} // namespace

QString SubViewController::InterfacePath(const QString& nibName)
{
    return QStringLiteral(":/panels/%1.ui").arg(nibName);
}

SubViewController::SubViewController(const QString& nibName, QObject* owner) : _owner(owner)
{
    ImageNamed(QString()); // registers the artwork and interface resources
    QFile file(InterfacePath(nibName));
    if (!file.open(QIODevice::ReadOnly))
        return;
    PanelLoader loader;
    std::unique_ptr<QWidget> root(loader.load(&file));
    if (!root) {
        Tolm::SystemLog::Print("SubViewController: %s: %s\n", qPrintable(nibName),
                               qPrintable(loader.errorString()));
        return;
    }
    auto* view = qobject_cast<CustomView*>(root.get());
    if (!view) {
        Tolm::SystemLog::Print("SubViewController: %s is not a panel view\n", qPrintable(nibName));
        return;
    }
    root.release();
    _view.reset(view);
    view->setFixedSize(view->size());
    view->connectOutlets();
    for (QObject* child : view->findChildren<QObject*>())
        Awake(child);
    Awake(view);
}

SubViewController::~SubViewController() = default;

} // namespace Tolm::Ui
