// Stamps the lines that this process and its plug-in write to standard output with the time.
#pragma once

#include <string>
#include <thread>

// From construction to destruction, standard output is a pipe whose lines a thread passes on with
// the time of day in front. Lines that stand in the pipe at destruction are still passed on; what a
// child that inherited the pipe writes later is lost with it. One at a time per process.
class LogStamper {
 public:
  LogStamper();
  LogStamper(const LogStamper&) = delete;
  LogStamper& operator=(const LogStamper&) = delete;
  ~LogStamper();

 private:
  void PassOnUntilClosed();
  void PassOn(const char* bytes, std::size_t count);

  int output_;       // the real standard output
  int readEnd_;      // of the pipe
  int finishPipe_;   // written end: closing it ends the thread
  int finishWatch_;  // read end, polled by the thread
  std::string partialLine_;
  std::thread thread_;
};
