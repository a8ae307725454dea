#include "reader/message_table.hpp"

#include <string_view>

#include "quorrin/results.h"

namespace quorrin {

// clang-format off
constexpr std::array<MessageRow, message_row_count> icc_msg{{
    // Device codes: how a reader library reports its failures.
    {QUORRIN_WRONG_CARD_TYPE, 0x00, 0x00, "卡片类型不对"},
    {QUORRIN_NO_CARD, 0x00, 0x00, "无卡"},
    {QUORRIN_NOT_POWERED, 0x00, 0x00, "有卡未上电"},
    {QUORRIN_CARD_MUTE, 0x00, 0x00, "卡片无应答"},
    {QUORRIN_NO_READER_LIBRARY, 0x00, 0x00, "加载动态库错"},
    {QUORRIN_CONNECTION_ERROR, 0x00, 0x00, "读卡器连接错"},
    {QUORRIN_NOT_CONNECTED, 0x00, 0x00, "未建立连接"},
    {QUORRIN_NOT_SUPPORTED, 0x00, 0x00, "（动态库）不支持该命令"},
    {QUORRIN_BAD_PARAMETER, 0x00, 0x00, "（发给动态库的）命令参数错"},
    {QUORRIN_CHECK_ERROR, 0x00, 0x00, "信息校验出错"},
    // Card, data and PIN entry codes.
    {QUORRIN_CARD_ID_FORMAT, 0x00, 0x00, "卡识别码格式或规范版本格式错"},
    {QUORRIN_AUTHENTICATION_FAILED, 0x00, 0x00, "内部认证失败（用户卡不合法）"},
    {QUORRIN_DATA_NOT_OF_CARD, 0x00, 0x00, "传入数据与卡内不符"},
    {QUORRIN_DATA_NOT_VALID, 0x00, 0x00, "传入数据不合法"},
    {QUORRIN_PSAM_KEY_LEVEL, 0x00, 0x00, "PSAM卡密钥级别不够"},
    {QUORRIN_ITEM_NOT_IN_CARD, 0x00, 0x00, "此卡文件结构中无传入的文件名或者数据项"},
    {QUORRIN_PIN_ENTRY_CANCELLED, 0x00, 0x00, "用户取消密码输入"},
    {QUORRIN_PIN_ENTRY_TIMED_OUT, 0x00, 0x00, "密码输入操作超时"},
    {QUORRIN_PIN_LENGTH, 0x00, 0x00, "输入密码长度错"},
    {QUORRIN_PINS_DIFFER, 0x00, 0x00, "两次输入密码不一致"},
    {QUORRIN_INITIAL_PIN, 0x00, 0x00, "初始密码不能交易"},
    {QUORRIN_NOT_TO_INITIAL_PIN, 0x00, 0x00, "不能改为初始密码"},
    {QUORRIN_ILLEGAL_CHARACTERS, 0x00, 0x00, "运算数据含非法字符"},
    {QUORRIN_PIN_CHECK_FAILED, 0x00, 0x00, "PIN校验失败，剩余次数N次"},
    {QUORRIN_PIN_BLOCKED, 0x00, 0x00, "PIN锁定"},
    {QUORRIN_COMPUTED_DATA_LENGTH, 0x00, 0x00, "运算数据长度错"},
    // PSAM codes.
    {QUORRIN_NO_PSAM, 0x00, 0x00, "无PSAM卡"},
    {QUORRIN_PSAM_ALGORITHM, 0x00, 0x00, "PSAM卡算法不支持"},
    {QUORRIN_PSAM_KEY_MISSING, 0x00, 0x00, "PSAM卡内没有RKssse密钥"},
    {QUORRIN_NO_HSM_NEEDED, 0x00, 0x00, "不需要加密机认证"},
    // Catch-all.
    {QUORRIN_UNKNOWN, 0x00, 0x00, "未知错误"},
    // Status words. Most codes are the negated status word. Deliberate: several status words share
    // the code of a related one (63C2, 9402, 9408, 6400, 6300, 6A86, 6B00, 6E00, 6F00 among them);
    // hosts tell outcomes apart by these codes.
    {QUORRIN_CONDITIONS_NOT_SATISFIED, 0x62, 0x00, "不满足使用条件、应用被锁定、应用未选择、余额上溢"},
    {QUORRIN_CONDITIONS_NOT_SATISFIED, 0x62, 0x81, "不满足使用条件、应用被锁定、应用未选择、余额上溢"},
    {QUORRIN_CONDITIONS_NOT_SATISFIED, 0x62, 0x82, "不满足使用条件、应用被锁定、应用未选择、余额上溢"},
    {QUORRIN_COMMAND_NOT_ACCEPTED, 0x62, 0x83, "命令不接受（无效状态）"},
    {QUORRIN_WRONG_FILE_TYPE, 0x62, 0x84, "命令与文件结构不相符、当前文件非所需文件"},
    {QUORRIN_KEY_BLOCKED, 0x63, 0xC0, "密钥锁定（算法锁定）鉴别方法锁定"},
    {QUORRIN_ONE_TRY_LEFT, 0x63, 0xC1, "外部认证失败，还可再试一次"},
    {QUORRIN_TWO_TRIES_LEFT, 0x63, 0xC2, "外部认证失败，还可再试二次"},
    {QUORRIN_AUTHENTICATION_FAILED, 0x63, 0x00, "内部认证失败（用户卡不合法）"},
    {QUORRIN_UNKNOWN, 0x64, 0x00, "标志状态位没变"},
    {QUORRIN_COMMAND_NOT_ACCEPTED, 0x65, 0x81, "命令不接受（无效状态）"},
    {QUORRIN_WRONG_LENGTH, 0x67, 0x00, "Lc/Le不正确"},
    {QUORRIN_SECURITY_NOT_SATISFIED, 0x68, 0x82, "不满足安全条件"},
    {QUORRIN_COMMAND_NOT_ACCEPTED, 0x69, 0x00, "命令不接受（无效状态）"},
    {QUORRIN_COMMAND_NOT_ACCEPTED, 0x69, 0x01, "命令不接受（无效状态）"},
    {QUORRIN_WRONG_FILE_TYPE, 0x69, 0x81, "命令与文件结构不相符、当前文件非所需文件"},
    {QUORRIN_SECURITY_NOT_SATISFIED, 0x69, 0x82, "不满足安全条件"},
    {QUORRIN_KEY_BLOCKED, 0x69, 0x83, "密钥锁定（算法锁定）鉴别方法锁定"},
    {QUORRIN_REFERENCE_DATA_NOT_VALID, 0x69, 0x84, "引用数据无效、随机数无效"},
    {QUORRIN_CONDITIONS_NOT_SATISFIED, 0x69, 0x85, "不满足使用条件、应用被锁定、应用未选择、余额上溢"},
    {QUORRIN_COMMAND_NOT_ACCEPTED, 0x69, 0x86, "命令不接受（无效状态）"},
    {QUORRIN_SECURITY_NOT_SATISFIED, 0x69, 0x87, "不满足安全条件"},
    {QUORRIN_SECURE_MESSAGING_WRONG, 0x69, 0x88, "安全报文数据项不正确、MAC不正确"},
    {QUORRIN_COMMAND_DATA_WRONG, 0x6A, 0x80, "数据域参数不正确"},
    {QUORRIN_FUNCTION_NOT_SUPPORTED, 0x6A, 0x81, "不支持该功能、卡中无MF、卡被锁定、应用锁定"},
    {QUORRIN_FILE_NOT_FOUND, 0x6A, 0x82, "未找到文件、文件标识相重、SFI不正确"},
    {QUORRIN_RECORD_NOT_FOUND, 0x6A, 0x83, "未找到记录"},
    {QUORRIN_CONDITIONS_NOT_SATISFIED, 0x6A, 0x84, "不满足使用条件、应用被锁定、应用未选择、余额上溢"},
    {QUORRIN_DATA_NOT_VALID, 0x6A, 0x86, "传入数据不合法"},
    {QUORRIN_DATA_NOT_FOUND, 0x6A, 0x88, "未找到引用数据、未找到密钥"},
    {QUORRIN_DATA_NOT_VALID, 0x6B, 0x00, "传入数据不合法"},
    {QUORRIN_DATA_NOT_VALID, 0x6E, 0x00, "传入数据不合法"},
    {QUORRIN_DATA_NOT_VALID, 0x6F, 0x00, "传入数据不合法"},
    {QUORRIN_CONDITIONS_NOT_SATISFIED, 0x93, 0x01, "不满足使用条件、应用被锁定、应用未选择、余额上溢"},
    {QUORRIN_WRONG_MAC, 0x93, 0x02, "MAC 无效"},
    {QUORRIN_PERMANENTLY_BLOCKED, 0x93, 0x03, "应用已被永久锁定、卡片锁定"},
    {QUORRIN_CONDITIONS_NOT_SATISFIED, 0x94, 0x01, "不满足使用条件、应用被锁定、应用未选择、余额上溢"},
    {QUORRIN_MAC_NOT_AVAILABLE, 0x94, 0x02, "所需MAC（或/和TAC）不可用"},
    {QUORRIN_PSAM_NO_PURCHASE, 0x94, 0x03, "PSAM卡不支持消费交易"},
    {QUORRIN_MAC_NOT_AVAILABLE, 0x94, 0x06, "所需MAC（或/和TAC）不可用"},
    {QUORRIN_PERMANENTLY_BLOCKED, 0x94, 0x08, "应用已被永久锁定、卡片锁定"},
    // End of the table.
    {0, 0x00, 0x00, ""},
}};
// clang-format on

namespace {

constexpr bool only_the_last_row_ends_the_table() {
    for (std::size_t i = 0; i + 1 < icc_msg.size(); ++i) {
        if (icc_msg[i].code == 0) {
            return false;
        }
    }
    return icc_msg.back().code == 0;
}
static_assert(only_the_last_row_ends_the_table());

// TransRetCode's callers size their buffers by this.
constexpr bool no_message_exceeds_72_bytes() {
    for (const MessageRow& row : icc_msg) {
        if (std::string_view(row.message).size() > 72) {
            return false;
        }
    }
    return true;
}
static_assert(no_message_exceeds_72_bytes());

template <typename Matches>
const MessageRow* first_row(Matches matches) noexcept {
    for (const MessageRow* row = icc_msg.data(); row->code != 0; ++row) {
        if (matches(*row)) {
            return row;
        }
    }
    return nullptr;
}

}  // namespace

const MessageRow* find_by_status_word(std::uint8_t sw1, std::uint8_t sw2) noexcept {
    return first_row([=](const MessageRow& row) { return row.sw1 == sw1 && row.sw2 == sw2; });
}

const MessageRow* find_by_code(std::int64_t code) noexcept {
    return first_row([=](const MessageRow& row) { return row.code == code; });
}

}  // namespace quorrin
