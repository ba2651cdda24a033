// The dispatcher: the thread that writes the lamps to the database and updates the current page every 10 ms.
#pragma once

#include "src/core/orvik_data.h"

// Looks the heartbeat event up and starts the thread "Dispatch". Returns 0, or the error number of the failed
// start.
int Init_Dispatch(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. Every 10 ms it posts the heartbeat event, calls
// UpdateDatabase, UpdateDisplay and ServeInitRequest, and pauses.
void* dispatchThreadFn(void* record);

// Writes every lamp variable, whether or not it has changed; the database detects changes. Dispatcher thread.
void UpdateDatabase(orvikData_t* data);
// Updates the widgets of the current page and lets the screen service apply the changes. A page without an
// update function is reported on standard error in every cycle. Dispatcher thread.
void UpdateDisplay(orvikData_t* data);
void UpdateLCDDisplay(orvikData_t* data);
// Initialises the record again if that was requested (lcdInitRequest). Dispatcher thread.
void ServeInitRequest(orvikData_t* data);

// Initialises the record again in the calling thread. Any thread.
void InitLCD(orvikData_t* data);
// Reports an unexpected command and changes nothing.
void UpdateLCDUnits(orvikData_t* data);

// Update functions of the pages without widgets of their own. They do nothing.
void UpdatePageDash(orvikData_t* data);
void UpdatePageVariants(orvikData_t* data);
void UpdatePageSplash(orvikData_t* data);
void UpdatePageBlank(orvikData_t* data);
void UpdatePageEngine(orvikData_t* data);
void UpdatePageVideo(orvikData_t* data);
void UpdatePageGauges(orvikData_t* data);
void UpdatePageMVEC(orvikData_t* data);
void UpdatePageGraphic1(orvikData_t* data);
void UpdatePageGraphic2(orvikData_t* data);
void UpdatePageOstrem(orvikData_t* data);
void UpdatePageSlate(orvikData_t* data);
void UpdatePageWad(orvikData_t* data);
void UpdatePageBrightnessPopUp(orvikData_t* data);
void UpdatePageChoice4MidPopUp(orvikData_t* data);
void DisplayPOL(orvikData_t* data);
// Update functions of the pages whose widgets the screen service fills from the database. They do nothing.
void UpdatePagePOLPopUp(orvikData_t* data);
void UpdatePageDM1(orvikData_t* data);
void UpdatePageChoice4TopPopUp(orvikData_t* data);
void UpdatePageChoice4BotPopUp(orvikData_t* data);
