// Working data of the store that no dictionary row describes.

#include "quorrin/quorrin.h"

std::uint16_t gl_Iss_ScriptLen = 0;

std::uint8_t gl_GACOne[256];
std::uint8_t gl_GACTwo[256];
std::uint16_t gl_GACOneLen = 0;
std::uint16_t gl_GACTwoLen = 0;

std::uint8_t gl_tIccPk[512];
std::uint8_t gl_tIccPk_GM[512];
std::uint8_t gl_tPinEnPk[512];
std::uint8_t gl_FlgIccPk = 0;
std::uint8_t gl_FlgIccPk_GM = 0;
std::uint8_t gl_FlgPinEnPk = 0;

std::uint8_t gl_GPOPdolData[256];
std::uint8_t gl_GACCdolOne[256];
std::uint8_t gl_GACCdolTwo[256];
std::uint16_t gl_LenGPOPdolData = 0;
std::uint16_t gl_LenGACCdolOne = 0;
std::uint16_t gl_LenGACCdolTwo = 0;

std::uint8_t gl_Iss_ScriptRslt[60];
std::uint8_t gl_Iss_NumScriptRslt = 0;

std::uint8_t gl_Tm_DDOL[252];
std::uint8_t gl_Tm_TDOL[252];
std::uint8_t gl_Tm_LenDDOL = 0;
std::uint8_t gl_Tm_LenTDOL = 0;

std::uint8_t gl_TAC_Denial[5];
std::uint8_t gl_TAC_Online[5];
std::uint8_t gl_TAC_Default[5];
std::uint8_t gl_FgTAC_Denial = 0;
std::uint8_t gl_FgTAC_Online = 0;
std::uint8_t gl_FgTAC_Default = 0;

std::int64_t gl_lRandSltLmt = 0;
std::int64_t gl_lRandSltPcnt = 0;
std::int64_t gl_lBiRSltPcnt = 0;

std::uint8_t gl_Tm_RmCheckFlg = 1;
std::uint32_t gl_Tm_RefCurConv = 0;
std::uint8_t gl_Tm_CashBackFlg = 0;
std::uint8_t gl_Tm_ACType = 0;
std::uint16_t gl_RandNum = 0;
std::uint8_t gl_RandNum_Flag = 0;
std::uint8_t gl_ATC_Err = 0;
std::uint8_t gl_KernOption[256];
