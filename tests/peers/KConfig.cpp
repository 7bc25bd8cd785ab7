// The column KConfig of the table of code in docs/store-guide.md, compiled where KConfig is installed.
#include <KConfig>
#include <KConfigGroup>
#include <QStringList>

int UseKConfig() {
    KConfig c("viewerrc");
    KConfigGroup g(&c, "Window");
    int w = g.readEntry("Width", 800);
    if (g.hasKey("Width")) ++w;
    g.writeEntry("Recent", QStringList{"a", "b"});
    if (!c.sync()) return 0;
    return w;
}
