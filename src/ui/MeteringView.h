#pragma once

#include "platform/CoreAudioTypes.h"

#include <QWidget>

#include <memory>
#include <span>

namespace Tolm::Ui {

// Vertical bar meter: one bar per channel, green up to the level on a dark bar, a bevelled
// frame, and an optional clip light on top that turns red at full scale and goes out 1.5 s
// after the last over. The scale is linear in amplitude. Fed in decibels.
class MeteringView : public QWidget {
    Q_OBJECT

public:
    explicit MeteringView(QWidget* parent = nullptr);
    ~MeteringView() override;

    int numChannels() const { return mNumChannels; }
    void setNumChannels(int count);

    double minDB() const { return mMinDB; }
    double maxDB() const { return mMaxDB; }
    double minValue() const { return mMinValue; }
    double maxValue() const { return mMaxValue; }
    void setMinDB(double db);
    void setMaxDB(double db);
    void setMinValue(double value);
    void setMaxValue(double value);

    bool hasClipIndicator() const { return mHasClip; }
    void setHasClipIndicator(bool hasClip);

    // Height in pixels of an amplitude on a bar of the given size.
    float pixelForValue(double value, int size) const;

    // Two decibel values per channel: level, then peak.
    void updateMeters(std::span<const float> values);

    // Dirty means the next draw is a full redraw; the repaint of changes only runs when a
    // caller asks for it with setDirty(false).
    void setDirty(bool dirty) { drawsMetersOnly = !dirty; }

    bool isOpaque() const { return true; }

    float firstTrackOffset() const { return mFirstTrackOffset; }
    // Current height of an entry (2 per channel) in pixels.
    float meterValue(int entry) const;
    int clipValue(int index) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    // The host clock; tests replace it.
    virtual UInt64 currentHostTimeNanos() const;

private:
    void drawFull(class QPainter& painter);
    void drawChanges(QPainter& painter);

    SInt32 mNumChannels = 0;
    double mMinDB;
    double mMaxDB = 0.0;
    double mMinValue = 0.0;
    double mMaxValue = 0.9999;
    std::unique_ptr<float[]> mMeterValues;
    std::unique_ptr<float[]> mOldMeterValues;
    std::unique_ptr<SInt32[]> mClipValues;
    float mFirstTrackOffset = 0;
    bool drawsMetersOnly = false;
    bool mHasClip = false;
    bool mFirstTime = false;
    std::unique_ptr<UInt64[]> mTimeOfOversNanos;
};

} // namespace Tolm::Ui
