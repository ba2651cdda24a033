// The thread that owns the screen: lamps to the database, the current page to the screen service, every 10 ms.
#pragma once

#include "src/core/orvik_data.h"

// Starts the thread "Dispatch"; 0 on success, else an error number.
int Init_Dispatch(orvikData_t* data);
void* dispatchThreadFn(void* record);

// One cycle's parts, on the dispatcher thread.
void UpdateDatabase(orvikData_t* data);
// Redraws the current page and flushes the screen service's batch. A page that is never the current one is
// reported on standard error, in every cycle.
void UpdateDisplay(orvikData_t* data);
void UpdateLCDDisplay(orvikData_t* data);
// Serves a re-initialisation request, if there is one.
void ServeInitRequest(orvikData_t* data);

// Initialises the record at once, in the caller's thread.
void InitLCD(orvikData_t* data);
// Nothing: reports an unexpected command.
void UpdateLCDUnits(orvikData_t* data);

// The pages that have nothing of their own to update.
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
// Pages whose widgets the screen service fills from the database alone.
void UpdatePagePOLPopUp(orvikData_t* data);
void UpdatePageDM1(orvikData_t* data);
void UpdatePageChoice4TopPopUp(orvikData_t* data);
void UpdatePageChoice4BotPopUp(orvikData_t* data);
