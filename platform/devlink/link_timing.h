// LinkTiming: the link's periods in one place, so that tests can run them faster.
//
// Threads: SetLinkTiming before StartConnect; a link takes them over when it starts.
#pragma once

#include <chrono>
#include <string>

namespace devlink {

using LinkClock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

// Every time span of the link in one place; tests shorten them.
struct LinkTiming {
  Milliseconds probeAfter{1000};    // silence before a probe, and between probes
  Milliseconds lostAfter{5000};     // silence after the first probe before the link is given up
  Milliseconds connectWait{5000};   // for the name and the connection of a TCP endpoint
  Milliseconds greetingWait{5000};  // for the device's greeting
  Milliseconds writeLimit{2000};    // for one frame of a post, the wait for other writers included
  Milliseconds firstPause{100};     // before the next attempt to connect; doubles ...
  Milliseconds longestPause{5000};  // ... up to this
  Milliseconds steadyAfter{1000};   // a session that lasted so long starts the pauses anew
  Milliseconds childGrace{1000};  // for a child to end by itself once its standard input is closed
  Milliseconds testAnswerWait{1000};
  Milliseconds noticeEvery{1000};  // losses are told at most so often
};

LinkTiming GetLinkTiming();
void SetLinkTiming(const LinkTiming& timing);

// "5 s", "0.25 s", for what a person reads.
std::string SecondsText(Milliseconds time);

}  // namespace devlink
