// The data elements of terminal and card, row by row, as EMV book 3 annex A and the PBOC additions
// describe them and hosts know them: written down apart from the library's own tables, to hold
// these against.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "quorrin/quorrin.h"

namespace quorrin::test {

struct ListedElement {
    template <std::size_t Declared>
    ListedElement(std::string_view tag_text, std::uint8_t (&variable)[Declared],
                  std::size_t storage_bytes, std::uint16_t minimum, std::uint16_t maximum,
                  std::string_view format_name, std::string_view template_tags)
        : tag(tag_text),
          storage(variable),
          declared_size(Declared),
          bytes(storage_bytes),
          shortest(minimum),
          longest(maximum),
          format(format_name),
          templates(template_tags) {}

    std::string_view tag;
    std::uint8_t* storage;
    std::size_t declared_size;
    std::size_t bytes;
    std::uint16_t shortest;
    std::uint16_t longest;
    std::string_view format;
    std::string_view templates;  // "" any
};

// clang-format off
inline const ListedElement listed_terminal_elements[] = {
    {"9F01", gl_Tm_AcqID, 6, 6, 6, "n", ""},
    {"9F40", gl_Tm_Cap_Ad, 5, 5, 5, "b", ""},
    {"81", gl_Tm_AuthAmntB, 4, 4, 4, "b", ""},
    {"9F02", gl_Tm_AuthAmntN, 6, 6, 6, "n", ""},
    {"9F04", gl_Tm_OtherAmntB, 4, 4, 4, "b", ""},
    {"9F03", gl_Tm_OtherAmntN, 6, 6, 6, "n", ""},
    {"9F3A", gl_Tm_RefCurAmnt, 4, 4, 4, "b", ""},
    {"9F06", gl_Tm_AID, 16, 5, 16, "b", ""},
    {"9F09", gl_Tm_AppVerNo, 2, 2, 2, "b", ""},
    {"89", gl_Tm_AuthCode, 6, 6, 6, "an", ""},
    {"8A", gl_Tm_ARC, 2, 2, 2, "an", ""},
    {"9F34", gl_Tm_CVMResult, 3, 3, 3, "b", ""},
    {"9F22", gl_Tm_CAPKIndex, 1, 1, 1, "b", ""},
    {"9F1E", gl_Tm_IFDSn, 8, 8, 8, "an", ""},
    {"91", gl_Tm_IssAuthDt, 16, 8, 16, "b", ""},
    {"86", gl_Tm_IssScrCmd, 261, 1, 261, "b", "71 72"},
    {"9F18", gl_Tm_IssScrID, 4, 4, 4, "b", "71 72"},
    {"9F15", gl_Tm_MchCatCode, 2, 2, 2, "n", ""},
    {"9F16", gl_Tm_MchID, 15, 15, 15, "ans", ""},
    {"9F39", gl_Tm_PosEntMode, 1, 1, 1, "n", ""},
    {"9F33", gl_Tm_Cap, 3, 3, 3, "b", ""},
    {"9F1A", gl_Tm_CntryCode, 2, 2, 2, "n", ""},
    {"9F1B", gl_Tm_FloorLmt, 4, 4, 4, "b", ""},
    {"9F1C", gl_Tm_TermID, 8, 8, 8, "an", ""},
    {"9F1D", gl_Tm_RMData, 8, 1, 8, "b", ""},
    {"9F35", gl_Tm_TermType, 1, 1, 1, "n", ""},
    {"95", gl_Tm_TVR, 5, 5, 5, "b", ""},
    {"98", gl_Tm_TCHash, 20, 20, 20, "b", ""},
    {"5F2A", gl_Tm_CurCode, 2, 2, 2, "n", ""},
    {"5F36", gl_Tm_CurExp, 1, 1, 1, "n", ""},
    {"9A", gl_Tm_TransDate, 3, 3, 3, "n", ""},
    {"99", gl_Tm_PINData, 256, 1, 256, "b", ""},
    {"9F3C", gl_Tm_RefCurCode, 2, 2, 2, "n", ""},
    {"9F3D", gl_Tm_RefCurExp, 1, 1, 1, "n", ""},
    {"9F41", gl_Tm_TrSeqCntr, 4, 2, 4, "n", ""},
    {"9B", gl_Tm_TSI, 2, 2, 2, "b", ""},
    {"9F21", gl_Tm_TransTime, 3, 3, 3, "n", ""},
    {"9C", gl_Tm_TransType, 1, 1, 1, "n", ""},
    {"9F37", gl_Tm_UnPNum, 4, 4, 4, "b", ""},
    {"71", gl_Iss_Script, 512, 1, 256, "b", ""},
    {"72", gl_Iss_Script, 512, 1, 256, "b", ""},
    {"9F4E", gl_Tm_MchNameLoc, 256, 1, 256, "ans", ""},
    {"9F7A", gl_Tm_VisaVLP, 1, 1, 1, "n", ""},
    {"9F53", gl_Tm_TransCateCode, 1, 1, 1, "an", ""},
    {"5F57", gl_Tm_AccountType, 1, 1, 1, "n", ""},
    {"9F7B", gl_Tm_ECTranLmt, 6, 1, 6, "n", ""},
    {"9F66", gl_Tm_ECTranPRT, 4, 4, 4, "b", ""},
    {"DF69", gl_Tm_SuppGMAlg, 1, 1, 1, "n", ""},
};

inline const ListedElement listed_card_elements[] = {
    {"9F26", gl_AC, 8, 8, 8, "b", "77 80"},
    {"9F42", gl_AppCurCode, 2, 2, 2, "n", "70 77"},
    {"9F44", gl_AppCurExp, 1, 1, 1, "n", "70 77"},
    {"9F05", gl_AppDiscData, 32, 1, 32, "b", "70 77"},
    {"5F25", gl_AppEffectDate, 3, 3, 3, "n", "70 77"},
    {"5F24", gl_AppExpireDate, 3, 3, 3, "n", "70 77"},
    {"94", gl_AFL, 252, 1, 252, "b", "77 80"},
    {"4F", gl_AID, 16, 5, 16, "b", "61"},
    {"82", gl_AIP, 2, 2, 2, "b", "77 80"},
    {"50", gl_AppLabel, 16, 1, 16, "ans", "61 A5"},
    {"9F12", gl_APName, 16, 1, 16, "ans", "61 A5"},
    {"5A", gl_PAN, 10, 1, 10, "cn", "70 77"},
    {"5F34", gl_PANSn, 1, 1, 1, "n", "70 77"},
    {"87", gl_APID, 1, 1, 1, "b", "61 A5"},
    {"9F3B", gl_APCur, 8, 2, 8, "n", "70 77"},
    {"9F43", gl_APCurExp, 4, 1, 4, "n", "70 77"},
    {"61", gl_AppTemp, 252, 1, 252, "b", "70 77"},
    {"9F36", gl_ATC, 2, 2, 2, "b", "77 80"},
    {"9F07", gl_AUC, 2, 2, 2, "b", "70 77"},
    {"9F08", gl_AppVerNo, 2, 2, 2, "b", "70 77"},
    {"8C", gl_CDOL1, 252, 1, 252, "b", "70 77"},
    {"8D", gl_CDOL2, 252, 1, 252, "b", "70 77"},
    {"5F20", gl_HolderName, 252, 1, 252, "ans", "70 77"},
    {"9F0B", gl_HolderNameEx, 252, 1, 252, "ans", "70 77"},
    {"8E", gl_CVMList, 252, 1, 252, "b", "70 77"},
    {"8F", gl_CAPkIndex, 1, 1, 1, "b", "70 77"},
    {"9F27", gl_CID, 1, 1, 1, "b", "77 80"},
    {"9F45", gl_DtAuthCode, 2, 2, 2, "b", ""},
    {"84", gl_DFName, 16, 5, 16, "b", "6F"},
    {"9D", gl_DDFName, 16, 5, 16, "b", "61"},
    {"73", gl_DirDiscTemp, 252, 1, 252, "b", "61"},
    {"9F49", gl_DDOL, 252, 1, 252, "b", "70 77"},
    {"BF0C", gl_FCIDiscData, 240, 1, 240, "b", "A5"},
    {"A5", gl_FCIPropTemp, 256, 1, 256, "b", "6F"},
    {"6F", gl_FCITemp, 252, 1, 252, "b", ""},
    {"9F4C", gl_IccDynNum, 8, 2, 8, "b", ""},
    {"9F2D", gl_PeCert, 248, 1, 248, "b", "70 77"},
    {"9F2E", gl_PeExp, 3, 1, 3, "b", "70 77"},
    {"9F2F", gl_PeRmd, 42, 1, 42, "b", "70 77"},
    {"9F46", gl_IccPkCert, 248, 1, 248, "b", "70 77"},
    {"9F47", gl_IccPkExp, 3, 1, 3, "b", "70 77"},
    {"9F48", gl_IccPkRmd, 42, 1, 42, "b", "70 77"},
    {"9F0D", gl_IAC_Default, 5, 5, 5, "b", "70 77"},
    {"9F0E", gl_IAC_Denial, 5, 5, 5, "b", "70 77"},
    {"9F0F", gl_IAC_Online, 5, 5, 5, "b", "70 77"},
    {"9F10", gl_IssAppData, 32, 1, 32, "b", "77 80"},
    {"9F11", gl_IssCTIndex, 1, 1, 1, "n", "A5"},
    {"5F28", gl_IssCountryCode, 2, 2, 2, "n", "70 77"},
    {"90", gl_IssPkCert, 248, 1, 248, "b", "70 77"},
    {"9F32", gl_IssPkExp, 3, 1, 3, "b", "70 77"},
    {"92", gl_IssPkRmd, 36, 1, 36, "b", "70 77"},
    {"5F50", gl_IssURL, 256, 1, 256, "ans", "A5"},
    {"5F2D", gl_LangPref, 8, 2, 8, "an", "A5"},
    {"9F13", gl_LastATC, 2, 2, 2, "b", ""},
    {"9F14", gl_LCOL, 1, 1, 1, "b", "70 77"},
    {"9F17", gl_PinTryCntr, 1, 1, 1, "b", ""},
    {"9F38", gl_PDOL, 256, 1, 256, "b", "A5"},
    {"80", gl_RMTF1, 256, 1, 256, "b", ""},
    {"77", gl_RMTF2, 256, 1, 256, "b", ""},
    {"5F30", gl_ServiceCode, 2, 2, 2, "n", "70 77"},
    {"88", gl_SFI, 1, 1, 1, "b", "A5"},
    {"9F4B", gl_SignDynAppDt, 248, 1, 248, "b", ""},
    {"93", gl_SignStaAppDt, 248, 1, 248, "b", "70 77"},
    {"9F4A", gl_SDATagList, 256, 1, 256, "b", "70 77"},
    {"9F1F", gl_Track1Data, 256, 1, 256, "ans", "70 77"},
    {"9F20", gl_Track2Data, 256, 1, 256, "cn", "70 77"},
    {"57", gl_Track2EquData, 19, 1, 19, "b", "70 77"},
    {"97", gl_TDOL, 252, 1, 252, "b", "70 77"},
    {"9F23", gl_UCOL, 1, 1, 1, "b", "70 77"},
    {"9F61", gl_CardHolderCert, 41, 1, 40, "an", ""},
    {"9F62", gl_CardHolderCertType, 1, 1, 1, "cn", ""},
    {"9F4D", gl_LogEntry, 2, 2, 2, "b", ""},
    {"9F4F", gl_LogFormat, 256, 1, 256, "b", ""},
    {"5F54", gl_IC_BIC, 11, 8, 11, "b", "BF0C 73"},
    {"5F53", gl_IC_IBAN, 34, 1, 34, "b", "BF0C 73"},
    {"5F55", gl_IC_IssCountryCode_A2, 2, 2, 2, "a", "BF0C 73"},
    {"5F56", gl_IC_ISSCOUNTRYCODE_A3, 3, 3, 3, "a", "BF0C 73"},
    {"42", gl_IC_IssIDNumber, 3, 3, 3, "n", "BF0C 73"},
    {"9F79", gl_IC_ECBalance, 6, 1, 6, "n", ""},
    {"9F77", gl_IC_ECBalanceLmt, 6, 1, 6, "n", ""},
    {"9F74", gl_IC_ECIssAuthCode, 6, 1, 6, "n", ""},
    {"9F78", gl_IC_ECSigleLmt, 6, 1, 6, "n", ""},
    {"9F6D", gl_IC_ECResetThld, 6, 1, 6, "n", ""},
    {"9F52", gl_IC_ECADA, 4, 4, 4, "b", ""},
    {"9F5D", gl_IC_ECVOS, 6, 6, 6, "b", ""},
    {"9F68", gl_IC_ECCAP, 4, 4, 4, "b", ""},
    {"9F6B", gl_IC_ECCCVMLT, 6, 6, 6, "n", ""},
    {"9F6C", gl_IC_ECCTQ, 2, 2, 2, "n", ""},
    {"84", gl_IC_ECAIP, 2, 2, 2, "b", "00 00"},
    {"9F13", gl_IC_ECLOATC, 2, 2, 2, "n", ""},
    {"9F69", gl_IC_ECCAR, 32, 1, 32, "n", ""},
    {"9F63", gl_IC_ProductLable, 16, 1, 16, "n", ""},
    {"DF50", gl_IC_ECMCHNUM, 256, 1, 256, "n", ""},
    {"DF4D", gl_LogEntry_Load, 2, 1, 2, "b", ""},
};
// clang-format on

}  // namespace quorrin::test
