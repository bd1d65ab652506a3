// Pictures of the dialogs and of the options panel in every language, for the documents:
//
//   dialog_screenshots FOLDER
//
// Run in a program folder of the stage, so that icons are found. The scale is that of the
// environment (QT_SCALE_FACTOR), and part of the files' names. Japanese needs a font for it.

#include "dialogs/DNGConversionDlg.h"
#include "dialogs/PtMessageBox.h"
#include "dialogs/PtProgressDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QRadioButton>
#include <QUiLoader>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// A colour and those that the eye hardly tells from it.
struct Shade {
    std::map<QRgb, int> counts;
    int total = 0;

    QRgb mostFrequent() const
    {
        return std::max_element(counts.begin(),
            counts.end(),
            [](const auto& one, const auto& other) { return one.second < other.second; })
            ->first;
    }
};

std::vector<Shade> shadesOf(const QImage& picture)
{
    constexpr QRgb kCoarse = 0xfff8f8f8;
    std::map<QRgb, Shade> shades;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb colour = picture.pixel(x, y);
            Shade& shade = shades[colour & kCoarse];
            ++shade.counts[colour];
            ++shade.total;
        }
    }
    std::vector<Shade> all;
    for (auto& entry : shades)
        all.push_back(std::move(entry.second));
    return all;
}

// The 256 most frequent shades are enough for a picture of a dialog, and make a small file.
QImage withFewColours(const QImage& picture)
{
    std::vector<Shade> shades = shadesOf(picture);
    std::stable_sort(shades.begin(), shades.end(), [](const Shade& one, const Shade& other) {
        return one.total > other.total;
    });
    QList<QRgb> colours;
    for (std::size_t i = 0; i < std::min<std::size_t>(shades.size(), 256); ++i)
        colours << shades[i].mostFrequent();
    return picture.convertToFormat(QImage::Format_Indexed8, colours);
}

class Album {
public:
    explicit Album(const QString& folder)
        : m_folder(folder)
    {
    }

    void add(QWidget& widget, const QString& name)
    {
        widget.show();
        QCoreApplication::processEvents();
        const int percent = qRound(widget.devicePixelRatioF() * 100);
        const QString path = m_folder.filePath(name + u'-' + QString::number(percent) + u".png"_s);
        if (withFewColours(widget.grab().toImage()).save(path, "PNG", 0))
            return;
        std::fprintf(stderr, "cannot write %s\n", qUtf8Printable(path));
        m_whole = false;
    }

    bool isWhole() const { return m_whole; }

private:
    QDir m_folder;
    bool m_whole = true;
};

void addMessageBox(Album& album)
{
    PtMessageBox box(nullptr,
        QMessageBox::Warning,
        u"Copying"_s,
        u"3 of 214 photos could not be copied to the backup folder, because the disk is full. They"
        " are still on the card. Free some space and try again, or go on without a backup of"
        " these photos."_s,
        u"&Try Again"_s,
        u"&Go On Without"_s,
        u"Stop"_s,
        QString(),
        QString(),
        2,
        u"Do the same for &all photos"_s,
        false,
        0);
    album.add(box, u"message-box"_s);
}

void addProgress(Album& album)
{
    PtProgressDialog dialog(nullptr, u"Copying photos"_s, u"Cancel"_s, 4);
    dialog.show();
    dialog.setProgress(1);
    dialog.createProgressLevel(10);
    dialog.setProgress(5);
    album.add(dialog, u"progress"_s);
}

void addSettings(Album& album)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 1);
    album.add(dialog, u"dng-preserve"_s);
    dialog.findChildren<QRadioButton*>().last()->click();
    album.add(dialog, u"dng-linear"_s);
}

// As the sink shows it when copies are to be saved.
void addPanel(Album& album, const QString& locale)
{
    QFile file(u"../shared_assets/locales/"_s + locale + u"/Tevoro_custom_options.ui"_s);
    QUiLoader loader;
    const std::unique_ptr<QWidget> panel(
        file.open(QIODevice::ReadOnly) ? loader.load(&file) : nullptr);
    if (!panel) {
        std::fprintf(stderr, "cannot load %s\n", qUtf8Printable(file.fileName()));
        return;
    }
    panel->findChild<QCheckBox*>(u"savecopies_checkbox"_s)->setChecked(true);
    panel->findChild<QCheckBox*>(u"launchtevoro_checkbox"_s)->setChecked(true);
    panel->findChild<QWidget*>(u"settings_button"_s)->setEnabled(false);
    panel->findChild<QLabel*>(u"secondary_backup_label"_s)
        ->setText(u"/media/backup/R&D/Pictures"_s);
    album.add(*panel, u"panel-"_s + locale);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    Album album(QString::fromLocal8Bit(argv[1]));
    addMessageBox(album);
    addProgress(album);
    addSettings(album);
    for (const auto& locale : {u"en_us"_s,
             u"de_de"_s,
             u"es_es"_s,
             u"fr_fr"_s,
             u"it_it"_s,
             u"ja_jp"_s,
             u"nl_nl"_s,
             u"pl_pl"_s})
        addPanel(album, locale);
    return album.isWhole() ? 0 : 1;
}
