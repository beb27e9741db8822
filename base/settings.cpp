#include "base/settings.h"

#include "platform/platform.h"

namespace tavo {

Settings::Settings()
    : files{platform::open_file, platform::read_file, platform::write_file, platform::seek_file,
            platform::close_file} {}

Settings settings;

}  // namespace tavo
