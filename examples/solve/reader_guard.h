#pragma once
/// Keeps the file readers' own messages, and their accidents, away from the user.

#include <CoinMessageHandler.hpp>
#include <string>
#include <vector>

namespace tavsolve {

/// Ends the program as for a malformed file when a reader breaks down on one: the readers trust their input, and a torn
/// or foreign file makes them leave their buffers.
class CrashGuard {
 public:
  CrashGuard(const std::string& message, int reportTo);
  CrashGuard(const CrashGuard&) = delete;
  CrashGuard& operator=(const CrashGuard&) = delete;
  ~CrashGuard();
};

/// Keeps what a reader says instead of printing it.
class ReaderMessages final : public CoinMessageHandler {
 public:
  ReaderMessages();
  int print() override;
  /// The readers' gravest messages would end the program here.
  void checkSeverity() override {}
  CoinMessageHandler* clone() const override { return new ReaderMessages(*this); }

  /// Warnings and errors; remarks are dropped.
  std::vector<std::string> complaints;
};

}  // namespace tavsolve
