#pragma once

// The side as a waveform, with its track markers: drag a marker to move a boundary,
// double-click (or Split here) to add one, Delete to join two tracks, the wheel to zoom in
// around a boundary. The lead-in and the run-out are shaded; the splits made while
// recording are drawn faintly where they differ. Keyboard: Left/Right go from marker to
// marker, Shift+Left/Right move the chosen marker by 10 ms (Ctrl: 1 s), Up/Down move the
// listening point by a second (Shift: 10 ms), S or Insert splits there, +/- zoom, Delete
// joins, Space listens.

#include "tracks/TrackMarkers.h"
#include "tracks/WaveformOverview.h"

#include <QWidget>
#include <optional>

namespace Tolm::Ui {

class TrackCheckView : public QWidget {
    Q_OBJECT

  public:
    explicit TrackCheckView(QWidget* parent = nullptr);

    // Nothing to show (while the side is read).
    void clear(const QString& message);
    void setSide(const Tracks::WaveformOverview* overview, double sampleRate, Tracks::TrackMarkers markers,
                 std::vector<std::int64_t> liveSplits);
    bool hasSide() const { return mOverview != nullptr; }
    // Shown but not yet to be changed (while the tracks are still being found).
    void setEditable(bool editable);
    bool editable() const { return mEditable; }

    const Tracks::TrackMarkers& markers() const { return mMarkers; }
    std::optional<std::size_t> selectedMarker() const { return mSelected; }
    std::int64_t cursor() const { return mCursor; }
    void selectMarker(std::optional<std::size_t> marker);
    void setCursor(std::int64_t frame);
    void setPlayPosition(std::optional<std::int64_t> frame);

    bool splitAtCursor();
    bool joinSelected();
    bool moveSelected(std::int64_t to);
    // Zooms by `factor` (above 1 zooms in) around the selection, or the cursor.
    void zoom(double factor);
    std::int64_t viewStart() const { return mViewStart; }
    std::int64_t viewFrames() const { return mViewFrames; }

    // The frame a point of the view shows, and back.
    std::int64_t frameAt(double x) const;
    double xOf(std::int64_t frame) const;

  Q_SIGNALS:
    void markersChanged();
    void selectionChanged();
    // Listen: across the chosen marker, or from the listening point.
    void listenRequested();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QRectF waveRect() const;
    void zoomAround(std::int64_t frame, double factor);
    void keepVisible(std::int64_t frame);
    void setView(std::int64_t start, std::int64_t frames);
    QString trackLabel(std::size_t track) const;

    const Tracks::WaveformOverview* mOverview = nullptr;
    double mRate = 44100.0;
    Tracks::TrackMarkers mMarkers;
    std::vector<std::int64_t> mLiveSplits;
    QString mMessage;
    std::optional<std::size_t> mSelected;
    std::int64_t mCursor = 0;
    std::optional<std::int64_t> mPlayPosition;
    std::int64_t mViewStart = 0;
    std::int64_t mViewFrames = 1;
    bool mDragging = false;
    bool mEditable = true;
};

} // namespace Tolm::Ui
