#pragma once

namespace velune {

// The process entry: logs who runs and when the program was built, logs the
// attributes of its own executable, then runs the application object with the
// delegate class "AppDelegate". Returns the exit status.
int main(int argc, char** argv);

}  // namespace velune
