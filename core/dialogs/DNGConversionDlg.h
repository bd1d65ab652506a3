// The modal dialog for the settings of the conversion of raw files to DNG. Stores nothing: the
// caller passes the current values in, and reads the new ones when exec() returned
// QDialog::Accepted. Its widgets belong to it. For the user-interface thread alone.
//
// The compression's two ends differ on purpose: the constructor takes "compressed", the getter
// returns "uncompressed", which is what is stored.
#pragma once

#include <QButtonGroup>
#include <QDialog>
#include <QPixmap>

#include <array>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QHBoxLayout;
class QLabel;
class QLayout;
class QPushButton;
class QRadioButton;
class QSpacerItem;

class DNGConversionDlg : public QDialog {
    Q_OBJECT

public:
    // `previewSize` is 0 for none, 1 for medium, 2 for full.
    DNGConversionDlg(QWidget* parent,
        bool embedOriginal,
        bool convertToLinear,
        bool compressed,
        int previewSize);

    // True when the files are to be left uncompressed.
    bool getCompressionState() const;
    bool getEmbedOriginalRawFileStatus() const;

    // 0 none, 1 medium, 2 full; -1 when the constructor was given none of these.
    int getJpegPreviewSize() const;

    // True for linear, false for preserve.
    bool getImageConversionMethod() const;

public Q_SLOTS:
    // The help describes the original format: it is on view while that is chosen. Runs on clicks
    // alone, so that a dialog that starts with "linear" shows the help until the first one.
    void slotConversionOptionClicked(int id);

private:
    void makePreviewCombo(QWidget* group, int previewSize);
    void makeMethodRadios(QWidget* group, bool convertToLinear);
    QGroupBox* makePreviewGroup(int previewSize);
    QGroupBox* makeCompressionGroup(bool compressed);
    QGroupBox* makeMethodGroup(bool convertToLinear);
    QGroupBox* makeRawFileGroup(bool embedOriginal);
    QHBoxLayout* makeButtonRow();
    void giveUpRoomBelowHelp();
    QGroupBox* makeGroup(const QString& title);
    QCheckBox* makeCheckBox(const QString& text, bool checked, QWidget* parent);
    QRadioButton* makeRadio(const QString& text, QWidget* parent);

    QWidget* m_controlParent;
    QLabel* m_previewLabel = nullptr;
    QComboBox* m_previewCombo = nullptr;
    QCheckBox* m_compressionCheckBox = nullptr;
    QCheckBox* m_embedCheckBox = nullptr;
    QRadioButton* m_preserveRadio = nullptr;
    QRadioButton* m_linearRadio = nullptr;
    QPushButton* m_okButton = nullptr;
    QPushButton* m_cancelButton = nullptr;
    QLabel* m_methodHelp = nullptr;
    QLabel* m_methodHelpIcon = nullptr;

    QPixmap m_helpPixmap;
    std::array<QSpacerItem*, 2> m_roomBelowHelp{}; // borrowed from the groups' layouts
    QButtonGroup m_methods; // no parent: it borrows the two radio buttons
};
