// The settings of the process: what the command line and the configuration file say.
#pragma once

#include <string>

#include "server/modConfiguration.h"

namespace ods {

/// Filled by start-up; afterwards only `configuration` changes, at a reload.
struct Settings {
  std::string instance;      ///< name of this server among others
  std::string runningmutex;  ///< held while the loop runs; "" for none
  std::string parentmutex;   ///< the server stops when it is gone; "" watches none
  std::string messagefile;   ///< "" writes no status documents
  std::string alivefile;     ///< "" writes no heartbeat
  std::string statefile;     ///< "" writes no state
  std::string config;        ///< path of the configuration file
  bool hidden = false;
  bool Unattended = true;  ///< nobody is there to read a message box
  bool exact = false;      ///< pages are exact
  std::string mode;
  int connecttimeout = 15;  ///< seconds; 0 for no limit
  int querytimeout = 30;    ///< the same
  int reconnect = 0;        ///< longest pause in seconds before a lost connection is tried again; 0 never tries
  std::string datafolder;
  std::string configfolder;
  std::string context;  ///< path of the context document
  std::string inqueue;
  std::string outqueue;
  Configuration configuration;
};

}  // namespace ods
