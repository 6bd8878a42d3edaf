#pragma once

#include <QDialog>

class QPushButton;

// The base of the small aid screens: function keys press their buttons, and only while the
// button is enabled; Enter does not press a default button (the lists take Enter themselves).
class AidDialog : public QDialog
{
    Q_OBJECT
public:
    explicit AidDialog(QWidget* parent = nullptr);

protected:
    // Makes a command button with the given caption and object name, bound to a key (0: none).
    QPushButton* commandButton(const QString& caption, const QString& name, int key);
    void keyPressEvent(QKeyEvent* event) override;
};
