// Bringing the application up, in the fixed order that main follows.
#pragma once

#include <string>
#include <vector>

#include "src/core/orvik_data.h"

// Exit statuses of the process.
constexpr int EXIT_ORDERLY = 0;
constexpr int EXIT_BAD_CALL = 1;

// Prints the banner and start line, makes the unit's date program available and opens the database.
void BeginStartUp();
// The configuration path from the arguments, or an empty string after the reason was printed: wrong count or no
// file.
std::string CheckArguments(const std::vector<std::string>& arguments);
// Reads the configuration and reports how long it took by the hardware counter (32,000 a second).
void ReadConfiguration(const std::string& path, orvikData_t* data);
// Makes the notification client and registers and subscribes the event channel.
void ConnectNotifications(orvikData_t* data);
// Starts every worker in order, with a line for each; a failure is reported and start-up goes on.
void StartWorkers(orvikData_t* data);
// Waits until the first worker runs.
void PassStartBarrier(const orvikData_t* data);
// Sets the defaults, opens the gate and says that the system is up.
void FinishStartUp(orvikData_t* data);
