// The replies to the host's immediate requests, and the program identity that they report.
//
// The receive thread calls them; each sends its frames with TransmitCAN.
#pragma once

#include <string_view>

#include "src/core/orvik_data.h"

// The program's name (8 characters, the last a blank), its version (16), and the date of its build in the
// compiler's form, "Aug 27 2013" (11; a day below 10 has a blank in front).
constexpr std::string_view PN = "Vistrel ";
constexpr std::string_view VR = "Rev. 01.003.0109";
extern const std::string_view FD;

// | reply               | frames, padded with FF                                                          |
// |---------------------|---------------------------------------------------------------------------------|
// | ReturnKeyState      | 00 01 S K L: K the oldest queued key code, 0 for none; L the code last queued;  |
// |                     | S the key status, FF when K is HOST_KEY_INFO                                    |
// | ReturnProgramName   | 00 02 and 6 characters of PN, 01 and the other 2                                |
// | ReturnProgramDate   | 00 02 and 6 characters of the date, 01 and the other 5                          |
// | ReturnFileID        | 00 03 and 6 characters of VR, 01 and 7, 02 and 3                                |
// | ReturnLCDStatus     | 00 01 00, always                                                                |
// | ReturnLEDBrightness | 00 01 03, always                                                                |
void ReturnKeyState(orvikData_t* data);
void ReturnProgramName(orvikData_t* data);
void ReturnProgramDate(orvikData_t* data);
void ReturnFileID(orvikData_t* data);
void ReturnLCDStatus(orvikData_t* data);
void ReturnLEDBrightness(orvikData_t* data);

// The two frames of the date reply for a date in the form of FD. A day below 10 gets a leading zero in place of
// the blank.
program_date_t MakeProgramDate(std::string_view date);
// Prepares the date reply from FD. Called at each initialisation of the record. Later calls write nothing,
// because the receive thread reads the frames without a lock.
void InitProgramDate(orvikData_t* data);
