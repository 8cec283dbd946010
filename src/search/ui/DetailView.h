#pragma once

#include "platform/ui/NavigationController.h"

#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;

namespace tolvane {

class ImageButton;
class ImageView;

// The panel the results screen slides over the grid for one result: a white card with a soft
// shadow holding the image (fitted, letter-boxed in white), a close button in its lower-left
// corner and a "Select" button centred at its bottom. The view only builds and places its
// controls; the screen wires the buttons, loads the image and moves the panel in and out.
class DetailView : public QWidget {
    Q_OBJECT
public:
    explicit DetailView(QWidget* parent = nullptr);

    ImageView* imageView() const { return m_imageView; }
    ImageButton* closeButton() const { return m_closeButton; }
    QPushButton* selectButton() const { return m_selectButton; }
    QWidget* mainView() const { return m_mainView; }
    // One line over the image's top edge saying where the image comes from; hidden when empty.
    QLabel* sourceLabel() const { return m_sourceLabel; }
    QString sourceText() const { return m_sourceText; }
    void setSourceText(const QString& text);

    // Only its navigation bar's height is read; none counts as a bar of height 0.
    NavigationController* navController() const { return m_navController; }
    void setNavController(NavigationController* controller) { m_navController = controller; }

    // Places the panel and its card for the device's current orientation and kind. The panel
    // goes to the top left of its parent, unless the screen is moving it.
    void layoutSubviews();

    // Moves the panel to a frame over the duration, decelerating, then runs the completion.
    // A layout pass meanwhile leaves the panel's position to the move.
    void animateFrame(const QRect& frame, int durationMs, std::function<void()> completion);
    bool isMoving() const { return bool(m_move); }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void placeSourceLabel();

    QWidget* m_mainView;
    ImageView* m_imageView;
    ImageButton* m_closeButton;
    QPushButton* m_selectButton;
    QLabel* m_sourceLabel;
    QString m_sourceText;
    QPointer<NavigationController> m_navController;
    QPointer<QVariantAnimation> m_move;
};

} // namespace tolvane
