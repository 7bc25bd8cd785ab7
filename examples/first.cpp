#include <ConfigurationControl/Store.h>

#include <iostream>

int main() {
    ticket::Store settings("settings.xml");
    int const width = settings.get("Window/Width", 800);  // the fallback gives the type
    settings.set("Window/Width", width + 100);
    settings.set("Recent", {"cover.pdf", "inside.pdf"});
    if (auto const saved = settings.save(); !saved) std::cerr << saved.message() << '\n';
    std::cout << "the window was " << width << " wide\n";
}
