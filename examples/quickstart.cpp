#include <ConfigurationControl/ConfigurationControl.h>

#include <iostream>

int main() {
    IConfigurationControl* const settings = GetConfigurationControl();
    settings->Initialize("settings.xml");
    settings->SetLoginUserName("ada");
    std::cout << settings->GetLoginUserName() << ", log level " << settings->GetLogLevel() << '\n';
    settings->Release();  // saves
}
