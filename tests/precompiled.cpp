// Nothing but a source to compile the headers for. See CMakeLists.txt.
