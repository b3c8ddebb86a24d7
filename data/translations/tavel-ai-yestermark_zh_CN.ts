<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>AboutPage</name>
    <message>
        <source>About</source>
        <translation>关于</translation>
    </message>
    <message>
        <source>Yestermark</source>
        <translation>昨日印记</translation>
    </message>
    <message>
        <source>Version:</source>
        <translation>版本：</translation>
    </message>
    <message>
        <source>Service &amp; Support:</source>
        <translation>服务与支持：</translation>
    </message>
</context>
<context>
    <name>AppMenu</name>
    <message>
        <source>Settings</source>
        <translation>设置</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>帮助</translation>
    </message>
    <message>
        <source>About</source>
        <translation>关于</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>退出</translation>
    </message>
</context>
<context>
    <name>AppProgramIcon</name>
    <message>
        <source>Yestermark</source>
        <translation>昨日印记</translation>
    </message>
</context>
<context>
    <name>CloseBtnPopUp</name>
    <message>
        <source>Please select the state after closing:</source>
        <translation>请选择关闭后的状态：</translation>
    </message>
    <message>
        <source>Minimize to tray</source>
        <translation>最小化到托盘</translation>
    </message>
    <message>
        <source>Exit program</source>
        <translation>退出程序</translation>
    </message>
</context>
<context>
    <name>DatePage</name>
    <message>
        <source>Date and Time</source>
        <translation>日期和时间</translation>
    </message>
    <message>
        <source>No program for setting date and time was found. They can be set with the command &quot;timedatectl&quot; in a terminal.</source>
        <translation>未找到设置日期和时间的程序。可以在终端中使用命令“timedatectl”进行设置。</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>DateTimeFormatter</name>
    <message>
        <source>today</source>
        <translation>今天</translation>
    </message>
    <message>
        <source>1 day ago</source>
        <translation>1天前</translation>
    </message>
    <message>
        <source>2 days ago</source>
        <translation>2天前</translation>
    </message>
    <message>
        <source>PM</source>
        <translation>下午</translation>
    </message>
    <message>
        <source>AM</source>
        <translation>上午</translation>
    </message>
</context>
<context>
    <name>DeleteAllDataPage</name>
    <message>
        <source>Delete All Data</source>
        <translation>删除所有数据</translation>
    </message>
    <message>
        <source>Are you sure you want to delete all data? After deletion, it cannot be restored.</source>
        <translation>确定要删除所有数据吗？删除后无法恢复。</translation>
    </message>
</context>
<context>
    <name>DeleteDataButton</name>
    <message>
        <source>Delete All Data</source>
        <translation>删除所有数据</translation>
    </message>
</context>
<context>
    <name>DialogButtons</name>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>确定</translation>
    </message>
</context>
<context>
    <name>DialogTitle</name>
    <message>
        <source>close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>InstallText</name>
    <message>
        <source>Reading the text on the screen</source>
        <translation>识别屏幕上的文字</translation>
    </message>
    <message>
        <source>Searching by the meaning of text</source>
        <translation>按文字含义搜索</translation>
    </message>
    <message>
        <source>Searching by what pictures show</source>
        <translation>按画面内容搜索</translation>
    </message>
    <message>
        <source>Words for searching pictures</source>
        <translation>搜索画面所用的词表</translation>
    </message>
    <message>
        <source>Checking: %1</source>
        <translation>正在校验：%1</translation>
    </message>
    <message>
        <source>Unpacking: %1</source>
        <translation>正在解压：%1</translation>
    </message>
    <message>
        <source>Downloading: %1</source>
        <translation>正在下载：%1</translation>
    </message>
    <message>
        <source>Everything is installed. Yestermark can be started now.</source>
        <translation>已全部安装，现在可以启动昨日印记。</translation>
    </message>
    <message>
        <source>The downloads need Python 3 and its package installer. Please install the package python3-pip and try again.</source>
        <translation>下载需要 Python 3 及其软件包安装程序。请安装软件包 python3-pip 后重试。</translation>
    </message>
    <message>
        <source>The download broke off: the server cannot be reached. Please check the network and try again.</source>
        <translation>下载中断：无法连接服务器。请检查网络后重试。</translation>
    </message>
    <message>
        <source>The server does not have this file. A newer version of Yestermark may know where to find it.</source>
        <translation>服务器上没有此文件。新版本的昨日印记可能知道它在哪里。</translation>
    </message>
    <message>
        <source>The downloaded file is not the expected one and was discarded. Please try again.</source>
        <translation>下载的文件与预期不符，已丢弃。请重试。</translation>
    </message>
    <message>
        <source>There is not enough space on the disk. Please free some and try again.</source>
        <translation>磁盘空间不足。请清理后重试。</translation>
    </message>
    <message>
        <source>The folder for the models cannot be written to.</source>
        <translation>无法写入存放模型的文件夹。</translation>
    </message>
    <message>
        <source>Another installation is under way.</source>
        <translation>另一个安装正在进行。</translation>
    </message>
    <message>
        <source>The installation failed.</source>
        <translation>安装失败。</translation>
    </message>
    <message>
        <source>Cancelled. What can be continued is kept for the next attempt.</source>
        <translation>已取消。可以继续的部分会保留，供下次使用。</translation>
    </message>
</context>
<context>
    <name>InstallerDialog</name>
    <message>
        <source>AI Module Management</source>
        <translation>AI 模块管理</translation>
    </message>
    <message>
        <source>All AI models of Yestermark are installed.</source>
        <translation>昨日印记的 AI 模型已全部安装。</translation>
    </message>
    <message>
        <source>Yestermark reads and understands pictures on this computer. The models for it are not installed yet. They are downloaded once; nothing of yours is sent.</source>
        <translation>昨日印记在这台电脑上识别和理解画面，所需的模型尚未安装。模型只需下载一次，不会发送您的任何内容。</translation>
    </message>
    <message>
        <source>%1 (optional)</source>
        <translation>%1（可选）</translation>
    </message>
    <message>
        <source>Progress of the installation</source>
        <translation>安装进度</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>安装</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>%1 to download.</source>
        <translation>需下载 %1。</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 / %2</translation>
    </message>
    <message>
        <source>Try again</source>
        <translation>重试</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>The list of the AI models cannot be read. Please install Yestermark again.</source>
        <translation>无法读取 AI 模型列表。请重新安装昨日印记。</translation>
    </message>
    <message>
        <source>All AI models that Yestermark needs are installed. This one can be added. It is downloaded once; nothing of yours is sent.</source>
        <translation>昨日印记所需的 AI 模型已全部安装，还可以添加这一个。只需下载一次，不会发送您的任何内容。</translation>
    </message>
</context>
<context>
    <name>NoSearchResult</name>
    <message>
        <source>We couldn&apos;t find the results you were looking for</source>
        <translation>没有找到您想要的结果</translation>
    </message>
</context>
<context>
    <name>PictureToolBar</name>
    <message>
        <source>Region Recognition</source>
        <translation>区域识别</translation>
    </message>
</context>
<context>
    <name>SearchBox</name>
    <message>
        <source>Enter your memory fragments...</source>
        <translation>输入您的记忆片段...</translation>
    </message>
</context>
<context>
    <name>SearchResultPage</name>
    <message>
        <source>Search Result:</source>
        <translation>搜索结果：</translation>
    </message>
    <message>
        <source>Text Matching</source>
        <translation>文本匹配</translation>
    </message>
    <message>
        <source>Image Matching</source>
        <translation>图像匹配</translation>
    </message>
</context>
<context>
    <name>SettingsPage</name>
    <message>
        <source>Settings</source>
        <translation>设置</translation>
    </message>
    <message>
        <source>General</source>
        <translation>通用</translation>
    </message>
    <message>
        <source>Close Window</source>
        <translation>关闭窗口</translation>
    </message>
    <message>
        <source>Minimize to tray</source>
        <translation>最小化到托盘</translation>
    </message>
    <message>
        <source>Exit program</source>
        <translation>退出程序</translation>
    </message>
    <message>
        <source>Screenshot</source>
        <translation>截图</translation>
    </message>
    <message>
        <source>Maximum Space Occupancy</source>
        <translation>最大占用空间</translation>
    </message>
</context>
<context>
    <name>ShowImageInfoPage</name>
    <message>
        <source>Return</source>
        <translation>返回</translation>
    </message>
</context>
<context>
    <name>StartMemoryBtn</name>
    <message>
        <source>Yestermark</source>
        <translation>昨日印记</translation>
    </message>
    <message>
        <source>Yestermark, allowing you to bid farewell to the pain of searching and experience memories like photos</source>
        <translation>昨日印记，让您告别翻找之苦，像看照片一样重温记忆</translation>
    </message>
    <message>
        <source> Quickly retrieve everything from your computer!</source>
        <translation> 快速找回电脑上的一切！</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>开始</translation>
    </message>
</context>
<context>
    <name>SubsystemUnavailableWindow</name>
    <message>
        <source>AI service unavailable</source>
        <translation>AI 服务不可用</translation>
    </message>
    <message>
        <source>The AI subsystem was not detected, and the AI service of the application cannot be used. Please go to the System Settings &gt; AI Module Management page to install.</source>
        <translation>未检测到 AI 子系统，无法使用应用的 AI 服务。请前往“系统设置 &gt; AI 模块管理”页面安装。</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Go Now</source>
        <translation>立即前往</translation>
    </message>
</context>
<context>
    <name>TextMenu</name>
    <message>
        <source>Copy</source>
        <translation>复制</translation>
    </message>
    <message>
        <source>SelectAll</source>
        <translation>全选</translation>
    </message>
</context>
<context>
    <name>TimeAxis</name>
    <message>
        <source>Last Page</source>
        <translation>上一页</translation>
    </message>
    <message>
        <source>Next Page</source>
        <translation>下一页</translation>
    </message>
</context>
<context>
    <name>TimeChangeTip</name>
    <message>
        <source>Detected that the system time has been changed</source>
        <translation>检测到系统时间已更改</translation>
    </message>
    <message>
        <source>Due to the system time being modified to a date earlier than the latest memory, there is a conflict in the current timeline and the memory has been paused. To avoid this conflict, please choose a handling method:</source>
        <translation>由于系统时间被修改为早于最新记忆的日期，当前时间轴存在冲突，记忆已暂停。为避免冲突，请选择处理方式：</translation>
    </message>
    <message>
        <source>·Delete historical memory: Delete data and restart recording.</source>
        <translation>·删除历史记忆：删除数据并重新开始记录。</translation>
    </message>
    <message>
        <source>·Adjust system time: Manually adjust the system time, retain historical data and continue recording.</source>
        <translation>·调整系统时间：手动调整系统时间，保留历史数据并继续记录。</translation>
    </message>
    <message>
        <source>Delete History</source>
        <translation>删除历史</translation>
    </message>
    <message>
        <source>Adjust Time</source>
        <translation>调整时间</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>option</source>
        <translation>选项</translation>
    </message>
    <message>
        <source>minimize</source>
        <translation>最小化</translation>
    </message>
    <message>
        <source>close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>TrayIcon</name>
    <message>
        <source>Open Yestermark</source>
        <translation>打开昨日印记</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>设置</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>退出</translation>
    </message>
    <message>
        <source>Yestermark</source>
        <translation>昨日印记</translation>
    </message>
    <message>
        <source>Start Memorizing</source>
        <translation>开始记忆</translation>
    </message>
    <message>
        <source>Yestermark-Memorizing...</source>
        <translation>昨日印记-记忆中...</translation>
    </message>
    <message>
        <source>Pause Memory</source>
        <translation>暂停记忆</translation>
    </message>
</context>
<context>
    <name>WindowSettings</name>
    <message>
        <source>Yestermark</source>
        <translation>昨日印记</translation>
    </message>
</context>
<context>
    <name>YestermarkBackend</name>
    <message>
        <source>Yestermark</source>
        <translation>昨日印记</translation>
    </message>
</context>
</TS>
