#include "support/yearstore/texts.h"

#include <QList>

#include <cmath>

namespace YearStore
{
namespace
{
// The most frequent first: a word's place in the list is its rank.
constexpr char FREQUENT_ENGLISH[] =
    "the of and to in a is for that on with it as was are by this be from at you not or an have "
    "file all new can we will your has more edit view if my about which one time up their out do "
    "what so no but page search when who other some any how help list home date into name see "
    "only its our there may these message open like project group day use report they meeting "
    "over after work first please data system window table version user mail image text save "
    "would results number line code review error return value const string public class int "
    "question size quality zone budget quarter request require question schedule history screen "
    "answer office address account order service change update language market section customer "
    "Thursday Monday January October London report.pdf 2024 09:30 100% 42,118 (draft) v2.1 "
    "https://www. index.html main.cpp README TODO void nullptr while else include template";
constexpr char FREQUENT_CHINESE[] =
    "的 是 在 我们 一个 和 了 不 有 文件 工作 时间 可以 公司 项目 今天 进行 问题 系统 用户 数据 "
    "使用 需要 没有 会议 信息 管理 通过 如果 中国 他们 报告 北京 时候 已经 开始 设置 服务 测试 "
    "窗口 搜索 历史 记录 屏幕 图片 文档 打开 保存 编辑 删除 新建 查看 帮助 邮件 联系 电话 地址 "
    "客户 产品 市场 销售 预算 计划 安排 完成 修改 更新 版本 代码 错误 功能 界面 网络 下载 上传 "
    "学习 研究 学生 老师 学校 城市 交通 天气 生活 经济 发展 社会 国家 世界 历史 文化 技术 科学 "
    "星期一 十月 上午 下午 明天 昨天 第一 部分 内容 方法 结果 原因 情况 意见 讨论 决定";
// Pieces of the many words that are seldom seen.
constexpr char SYLLABLES[] =
    "an ar al be ber ca con cor da del di dis en er ev fa fer for ga gen gra ha her im in int ja "
    "ka lan le lec lo ma men mi mo na ne nor op or pa per ple po pre pro ra re ro sa sen ser sta "
    "sub ta ter ti tor tra tri un ur va ver vi wa wi";
constexpr char ENDINGS[] = "s ed ing er ion al ment ness able ly ant ity ous ive e y";
constexpr int ENGLISH_WORDS = 6000;
constexpr int CHINESE_WORDS = 3000;

constexpr int SHORTEST_SCREEN = 1150; // bytes; replaced lines may move a screen by some more
constexpr int LONGEST_SCREEN = 3700;
constexpr int SHORTEST_LINE = 12;
constexpr int LONGEST_LINE = 90;
constexpr int PART_REPLACED = 12; // one line in so many is another in the next screen

bool holdsMarker(const QByteArray &word)
{
    return word.contains(RARE_WORD) || word.contains(ABSENT_WORD);
}

QVector<QByteArray> englishWords()
{
    QVector<QByteArray> words = QByteArray(FREQUENT_ENGLISH).split(' ').toVector();
    const QList<QByteArray> syllables = QByteArray(SYLLABLES).split(' ');
    const QList<QByteArray> endings = QByteArray(ENDINGS).split(' ');
    QRandomGenerator random(1); // the same words whatever the seed of the texts is
    while (words.size() < ENGLISH_WORDS) {
        QByteArray word;
        for (int left = random.bounded(1, 4); left > 0; --left) {
            word += syllables[random.bounded(syllables.size())];
        }
        word += endings[random.bounded(endings.size())];
        if (random.bounded(8) == 0) {
            word[0] = static_cast<char>(word[0] - 'a' + 'A');
        }
        if (!holdsMarker(word)) {
            words.append(word);
        }
    }
    return words;
}

QVector<QByteArray> chineseWords()
{
    QVector<QByteArray> words = QByteArray(FREQUENT_CHINESE).split(' ').toVector();
    const QString characters = QString::fromUtf8(FREQUENT_CHINESE).remove(QLatin1Char(' '));
    QRandomGenerator random(2);
    while (words.size() < CHINESE_WORDS) {
        QString word;
        for (int left = random.bounded(1, 4); left > 0; --left) {
            word += characters[random.bounded(characters.size())];
        }
        words.append(word.toUtf8());
    }
    return words;
}
} // namespace

Texts::Texts(quint32 seed) : m_random(seed)
{
    beginRun();
}

// The continuous form of Zipf's law: the chance of a rank is as the inverse of it.
int Texts::rank(int words)
{
    return static_cast<int>(std::exp(m_random.generateDouble() * std::log(words + 1.0))) - 1;
}

QByteArray Texts::line(int bytes)
{
    static const QVector<QByteArray> english = englishWords();
    static const QVector<QByteArray> chinese = chineseWords();
    const bool isChinese = m_random.bounded(5) == 0 ? !m_isChinese : m_isChinese;
    const QVector<QByteArray> &words = isChinese ? chinese : english;
    QByteArray line;
    line.reserve(bytes + 16);
    while (line.size() < bytes) {
        if (!isChinese && !line.isEmpty()) {
            line += ' ';
        }
        line += words[rank(words.size())];
    }
    return line;
}

void Texts::beginRun()
{
    m_isChinese = m_random.bounded(5) < 2;
    m_lines.clear();
    const int wanted = m_random.bounded(SHORTEST_SCREEN, LONGEST_SCREEN);
    for (int bytes = 0; bytes < wanted; bytes += m_lines.last().size() + 2) {
        m_lines.append(line(m_random.bounded(SHORTEST_LINE, LONGEST_LINE)));
    }
}

QByteArray Texts::nextScreen(const QByteArray &marker)
{
    for (int left = 1 + m_lines.size() / PART_REPLACED; left > 0; --left) {
        QByteArray &replaced = m_lines[m_random.bounded(m_lines.size())];
        // Words end a little beyond the length that is asked for.
        replaced = line(replaced.size() - m_random.bounded(7));
    }
    const int place = m_random.bounded(m_lines.size());
    QByteArray text;
    text.reserve(LONGEST_SCREEN + 400);
    for (int index = 0; index < m_lines.size(); ++index) {
        if (index == place && !marker.isEmpty()) {
            text.append(marker).append("; ");
        }
        text.append(m_lines[index]).append("; ");
    }
    return text;
}
} // namespace YearStore
