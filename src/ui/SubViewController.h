#pragma once

#include <QString>

#include <memory>

class QObject;

namespace Tolm::Ui {

class CustomView;

// Loads one panel from its interface file (resources/panels/<name>.ui) and holds its view
// until someone takes it. A missing or broken file gives no view.
class SubViewController {
public:
    SubViewController(const QString& nibName, QObject* owner);
    ~SubViewController();
    SubViewController(const SubViewController&) = delete;
    SubViewController& operator=(const SubViewController&) = delete;

    CustomView* view() const { return _view.get(); }
    // Hands the view over; the controller then no longer deletes it.
    std::unique_ptr<CustomView> takeView() { return std::move(_view); }
    QObject* owner() const { return _owner; }

    static QString InterfacePath(const QString& nibName);

private:
    std::unique_ptr<CustomView> _view;
    QObject* _owner;
};

} // namespace Tolm::Ui
