// Redirects std::cerr into a string for the lifetime of the object, so that tests can check what the
// solver writes there.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

class CerrCapture {
  public:
    CerrCapture() : previous_(std::cerr.rdbuf(captured_.rdbuf())) {}
    ~CerrCapture() { std::cerr.rdbuf(previous_); }
    std::string text() const { return captured_.str(); }

  private:
    std::ostringstream captured_;
    std::streambuf* previous_;
};
