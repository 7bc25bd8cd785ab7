// The column QSettings of the table of code in docs/store-guide.md, compiled where Qt is installed.
#include <QSettings>
#include <QStringList>

int UseQSettings() {
    QSettings s("viewer.ini", QSettings::IniFormat);
    int w = s.value("Window/Width", 800).toInt();
    if (s.contains("Window/Width")) ++w;
    s.setValue("Recent", QStringList{"a", "b"});
    s.sync();
    if (s.status() != QSettings::NoError) return 0;
    return w;
}
