// The parser's class for a command, by name alone: its package's header takes seconds to compile,
// so only the files that describe options include that.
#pragma once

namespace CLI {
class App;
}
