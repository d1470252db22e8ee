<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja" sourcelanguage="en">
<context>
    <name>Agent</name>
    <message>
        <source>installed, not trusted yet: run /hooks in it</source>
        <translation>インストール済みですが、まだ信頼されていません。ツール内で /hooks を実行してください</translation>
    </message>
    <message>
        <source>needs repair: choose “Wire my tools”</source>
        <translation>修復が必要です。「ツールを連携」を選択してください</translation>
    </message>
    <message>
        <source>edited by you, and kept so</source>
        <translation>お客様が変更した内容のまま保持しています</translation>
    </message>
    <message>
        <source>its configuration cannot be read</source>
        <translation>設定を読み取れません</translation>
    </message>
    <message>
        <source>running</source>
        <translation>実行中</translation>
    </message>
    <message>
        <source>installed</source>
        <translation>インストール済み</translation>
    </message>
    <message>
        <source>validation wired</source>
        <translation>検証を連携済み</translation>
    </message>
    <message>
        <source>not wired</source>
        <translation>未連携</translation>
    </message>
    <message>
        <source>its version is unknown</source>
        <translation>バージョンは不明です</translation>
    </message>
</context>
<context>
    <name>Alert</name>
    <message>
        <source>Read the text of more programs?</source>
        <translation>ほかのプログラムのテキストも読み取りますか？</translation>
    </message>
    <message>
        <source>This desktop does not show Kelvane what you have selected. Programs tell it themselves once accessibility is switched on: Firefox at once, Qt programs when they are started the next time.

That is a setting of yours, not of Kelvane: it stays on after you log out, every program of yours sees it, and any of them may then read the text of the others. It costs about 6 MB of memory, and Firefox starts a little more slowly.

You can switch it off again in Kelvane&apos;s Settings menu.</source>
        <translation>このデスクトップでは、選択されている内容が Kelvane に伝わりません。アクセシビリティを有効にすると、各プログラムが自ら伝えるようになります。Firefox はすぐに、Qt のプログラムは次回の起動時から有効になります。

これは Kelvane ではなくお客様の設定です。ログアウト後も有効なままで、すべてのプログラムから参照でき、どのプログラムもほかのプログラムのテキストを読み取れるようになります。メモリを約 6 MB 使用し、Firefox の起動が少し遅くなります。

Kelvane の「設定」メニューからいつでも無効に戻せます。</translation>
    </message>
    <message>
        <source>Leave Off</source>
        <translation>無効のまま</translation>
    </message>
    <message>
        <source>Switch On</source>
        <translation>有効にする</translation>
    </message>
    <message>
        <source>Switch accessibility off again?</source>
        <translation>アクセシビリティを無効に戻しますか？</translation>
    </message>
    <message>
        <source>Kelvane will then read selected text from GTK programs only. If you use a screen reader or another program that needs the setting, leave it on.</source>
        <translation>以後、選択したテキストは GTK のプログラムからのみ読み取ります。スクリーンリーダーなど、この設定を必要とするプログラムをお使いの場合は、有効のままにしてください。</translation>
    </message>
    <message>
        <source>Leave On</source>
        <translation>有効のまま</translation>
    </message>
    <message>
        <source>Switch Off</source>
        <translation>無効にする</translation>
    </message>
    <message>
        <source>The setting could not be changed.</source>
        <translation>設定を変更できませんでした。</translation>
    </message>
    <message>
        <source>The desktop&apos;s accessibility service did not take it. Nothing else was changed.</source>
        <translation>デスクトップのアクセシビリティサービスが変更を受け付けませんでした。ほかには何も変更していません。</translation>
    </message>
    <message>
        <source>Accessibility stays switched on.</source>
        <translation>アクセシビリティは有効のままです。</translation>
    </message>
    <message>
        <source>Kelvane switched it on for you, and the desktop&apos;s accessibility service did not let it be switched off again. You can do so in your desktop&apos;s settings.</source>
        <translation>Kelvane が有効にしたものですが、デスクトップのアクセシビリティサービスにより無効に戻せませんでした。デスクトップの設定から変更できます。</translation>
    </message>
    <message>
        <source>Accessibility is switched on already.</source>
        <translation>アクセシビリティはすでに有効です。</translation>
    </message>
    <message>
        <source>Firefox tells Kelvane what is selected, and so do Qt programs that were started since.</source>
        <translation>Firefox と、その後に起動した Qt のプログラムは、選択内容を Kelvane に伝えています。</translation>
    </message>
    <message>
        <source>The local service, trevix-local, is not installed. Install the whole package, or put trevix-local on your search path, and choose again.</source>
        <translation>ローカルサービス trevix-local がインストールされていません。パッケージ全体をインストールするか、trevix-local を検索パスに置いてから、もう一度選択してください。</translation>
    </message>
    <message>
        <source>The local service has no key: %1. In a terminal this says more: %2</source>
        <translation>ローカルサービスにキーがありません（%1）。詳しくは、ターミナルで次を実行してください: %2</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>%1 に書き込めませんでした。</translation>
    </message>
    <message>
        <source>This machine cannot grade yet</source>
        <translation>このマシンではまだ評価できません</translation>
    </message>
    <message>
        <source>On this machine: your work stays here and nothing else is needed.</source>
        <translation>このマシン: 作業内容は外部に送信されず、ほかに必要なものはありません。</translation>
    </message>
    <message>
        <source>With a service account: your work is sent to %1, and you need a key.</source>
        <translation>サービスアカウント: 作業内容は %1 に送信され、キーが必要です。</translation>
    </message>
    <message>
        <source>Now: on this machine.</source>
        <translation>現在: このマシン。</translation>
    </message>
    <message>
        <source>Now: with a service account.</source>
        <translation>現在: サービスアカウント。</translation>
    </message>
    <message>
        <source>You can change this at any time: “Where to grade…” in the menu of the icon, or kelvane --service.</source>
        <translation>これはいつでも変更できます。アイコンのメニューの「評価する場所…」または kelvane --service をお使いください。</translation>
    </message>
    <message>
        <source>BRASK_API_BASE is set where Kelvane was started from, and wins over this choice.</source>
        <translation>Kelvane の起動元で BRASK_API_BASE が設定されており、この選択より優先されます。</translation>
    </message>
    <message>
        <source>Where shall your work be graded?</source>
        <translation>作業をどこで評価しますか？</translation>
    </message>
    <message>
        <source>Grade on this machine</source>
        <translation>このマシンで評価</translation>
    </message>
    <message>
        <source>Use a service account</source>
        <translation>サービスアカウントを使用</translation>
    </message>
    <message>
        <source>Leave it</source>
        <translation>変更しない</translation>
    </message>
    <message>
        <source>Later</source>
        <translation>後で</translation>
    </message>
    <message>
        <source>Send your work without encryption?</source>
        <translation>作業内容を暗号化せずに送信しますか？</translation>
    </message>
    <message>
        <source>%1 is not encrypted: whoever is on the way there can read your work and your service key. Kelvane remembers the answer in ~/.brask/plain-http.</source>
        <translation>%1 への通信は暗号化されません。経路上の第三者が作業内容とサービスキーを読み取れます。回答は ~/.brask/plain-http に記憶されます。</translation>
    </message>
    <message>
        <source>Don&apos;t Send</source>
        <translation>送信しない</translation>
    </message>
    <message>
        <source>Send Unencrypted</source>
        <translation>暗号化せずに送信</translation>
    </message>
    <message>
        <source>Python 3 is required</source>
        <translation>Python 3 が必要です</translation>
    </message>
    <message>
        <source>Kelvane runs the validator with python3, which isn’t installed. Install Apple’s Command Line Tools (Terminal: xcode-select --install), then choose “Wire my tools” from the menu.</source>
        <translation>Kelvane は検証に python3 を使用しますが、インストールされていません。Apple の Command Line Tools をインストールし（ターミナル: xcode-select --install）、メニューから「ツールを連携」を選択してください。</translation>
    </message>
    <message>
        <source>your coding tools</source>
        <translation>お使いのコーディングツール</translation>
    </message>
    <message>
        <source>Kelvane is wired</source>
        <translation>Kelvane を連携しました</translation>
    </message>
    <message>
        <source>Validation is now active in: %1.
Get your free key at %2, then export BRASK_API_KEY.</source>
        <translation>検証が有効になりました: %1
%2 で無料のキーを取得し、BRASK_API_KEY をエクスポートしてください。</translation>
    </message>
    <message>
        <source>Uninstall Kelvane?</source>
        <translation>Kelvane をアンインストールしますか？</translation>
    </message>
    <message>
        <source>Removes Trevix validation from your coding tools, deletes ~/.brask, and removes this app. Your own MCP servers, hooks, and notes are left intact.</source>
        <translation>コーディングツールから Trevix の検証を取り除き、~/.brask を削除して、このアプリを取り除きます。お客様自身の MCP サーバー、フック、メモはそのまま残ります。</translation>
    </message>
    <message>
        <source>Uninstall</source>
        <translation>アンインストール</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
    <message>
        <source>Kelvane removed</source>
        <translation>Kelvane を取り除きました</translation>
    </message>
    <message>
        <source>Everything was removed — your own config was left intact. Thanks for trying it.</source>
        <translation>すべて取り除きました。お客様自身の設定はそのまま残っています。お試しいただきありがとうございました。</translation>
    </message>
</context>
<context>
    <name>Band</name>
    <message>
        <source>SHIP</source>
        <translation>提出可</translation>
    </message>
    <message>
        <source>ROUTE TO FIX</source>
        <translation>要修正</translation>
    </message>
    <message>
        <source>QUARANTINE</source>
        <translation>保留</translation>
    </message>
    <message>
        <source>BLOCK</source>
        <translation>提出不可</translation>
    </message>
</context>
<context>
    <name>FlawList</name>
    <message>
        <source>History…</source>
        <translation>履歴…</translation>
    </message>
    <message>
        <source>Copy all</source>
        <translation>すべてコピー</translation>
    </message>
    <message>
        <source>Copy all flaws as text</source>
        <translation>すべての問題点をテキストとしてコピー</translation>
    </message>
    <message>
        <source>Less</source>
        <translation>閉じる</translation>
    </message>
    <message>
        <source>Show the first flaws only</source>
        <translation>最初の問題点のみ表示</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>元に戻す</translation>
    </message>
    <message>
        <source>Go to line</source>
        <translation>行へ移動</translation>
    </message>
    <message>
        <source>Not a flaw</source>
        <translation>問題ではない</translation>
    </message>
    <message>
        <source>Add to dictionary</source>
        <translation>辞書に追加</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>コピー</translation>
    </message>
    <message>
        <source>Copy the flaw as text</source>
        <translation>問題点をテキストとしてコピー</translation>
    </message>
</context>
<context>
    <name>History</name>
    <message>
        <source>no verdict</source>
        <translation>判定なし</translation>
    </message>
    <message numerus="yes">
        <source>%n line is not shown</source>
        <comment>%n lines are not shown</comment>
        <translation>
            <numerusform>%n 行を省略</numerusform>
        </translation>
    </message>
    <message>
        <source>Flaws</source>
        <translation>問題点</translation>
    </message>
    <message>
        <source>No flaws were listed.</source>
        <translation>問題点は挙げられていません。</translation>
    </message>
    <message>
        <source>Fixed</source>
        <translation>修正済み</translation>
    </message>
    <message>
        <source>Remaining</source>
        <translation>未修正</translation>
    </message>
    <message>
        <source>New</source>
        <translation>新規</translation>
    </message>
    <message>
        <source>Of a verdict with more than %1 flaws the first are compared.</source>
        <translation>問題点が %1 件を超える判定では、最初のものだけを比較します。</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>テキスト</translation>
    </message>
    <message>
        <source>The work is the same.</source>
        <translation>作業内容は同じです。</translation>
    </message>
    <message>
        <source>The text is kept only of what this machine has graded; pictures are not.</source>
        <translation>テキストを保存するのは、このマシンで評価したものだけです。画像は保存しません。</translation>
    </message>
    <message>
        <source>No line differs.</source>
        <translation>異なる行はありません。</translation>
    </message>
    <message>
        <source>Of a long text the first %1 KiB are kept.</source>
        <translation>長いテキストは最初の %1 KiB だけを保存します。</translation>
    </message>
    <message>
        <source>Verdicts will be listed here.</source>
        <translation>判定がここに表示されます。</translation>
    </message>
    <message>
        <source>No verdict has these words.</source>
        <translation>これらの語を含む判定はありません。</translation>
    </message>
    <message numerus="yes">
        <source>%n verdict found.</source>
        <comment>%n verdicts found.</comment>
        <translation>
            <numerusform>判定 %n 件が見つかりました。</numerusform>
        </translation>
    </message>
    <message>
        <source>The verdict is deleted.</source>
        <translation>判定を削除しました。</translation>
    </message>
    <message>
        <source>All verdicts are deleted.</source>
        <translation>すべての判定を削除しました。</translation>
    </message>
</context>
<context>
    <name>HistoryWindow</name>
    <message>
        <source>History of verdicts</source>
        <translation>判定の履歴</translation>
    </message>
    <message>
        <source>Search verdicts</source>
        <translation>判定を検索</translation>
    </message>
    <message>
        <source>Verdicts</source>
        <translation>判定</translation>
    </message>
    <message>
        <source>Delete all…</source>
        <translation>すべて削除…</translation>
    </message>
    <message>
        <source>Delete all verdicts? This cannot be undone.</source>
        <translation>すべての判定を削除しますか？この操作は元に戻せません。</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>残す</translation>
    </message>
    <message>
        <source>Delete all</source>
        <translation>すべて削除</translation>
    </message>
    <message>
        <source>Choose a verdict to see its flaws.</source>
        <translation>判定を選ぶと、その問題点が表示されます。</translation>
    </message>
    <message>
        <source>Full report</source>
        <translation>詳細レポート</translation>
    </message>
    <message>
        <source>Compare with the version before</source>
        <translation>前の版と比較</translation>
    </message>
    <message>
        <source>Compare with the marked one</source>
        <translation>マークした判定と比較</translation>
    </message>
    <message>
        <source>Take the mark away</source>
        <translation>マークを外す</translation>
    </message>
    <message>
        <source>Mark to compare</source>
        <translation>比較用にマーク</translation>
    </message>
    <message>
        <source>Back to its flaws</source>
        <translation>問題点に戻る</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>コピー</translation>
    </message>
    <message>
        <source>Copy all of this as text</source>
        <translation>この内容をすべてテキストとしてコピー</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>削除</translation>
    </message>
    <message>
        <source>Delete this verdict</source>
        <translation>この判定を削除</translation>
    </message>
    <message>
        <source>Differences</source>
        <translation>相違点</translation>
    </message>
    <message>
        <source>Flaws</source>
        <translation>問題点</translation>
    </message>
    <message>
        <source>Added: %1</source>
        <translation>追加: %1</translation>
    </message>
    <message>
        <source>Removed: %1</source>
        <translation>削除: %1</translation>
    </message>
</context>
<context>
    <name>Menu</name>
    <message>
        <source>Get a free key…</source>
        <translation>無料のキーを取得…</translation>
    </message>
    <message>
        <source>Uninstall Kelvane…</source>
        <translation>Kelvane をアンインストール…</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>終了</translation>
    </message>
    <message>
        <source>Switch accessibility off again…</source>
        <translation>アクセシビリティを無効に戻す…</translation>
    </message>
    <message>
        <source>Read text of more programs…</source>
        <translation>ほかのプログラムのテキストも読み取る…</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>設定…</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>再開</translation>
    </message>
    <message>
        <source>Pause for an hour</source>
        <translation>1 時間停止</translation>
    </message>
    <message>
        <source>Kelvane — grade your work in any app</source>
        <translation>Kelvane — どのアプリの作業も評価します</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>開く</translation>
    </message>
    <message>
        <source>Where to grade…</source>
        <translation>評価する場所…</translation>
    </message>
    <message>
        <source>History…</source>
        <translation>履歴…</translation>
    </message>
</context>
<context>
    <name>Modality</name>
    <message>
        <source>design</source>
        <translation>デザイン</translation>
    </message>
    <message>
        <source>transcript</source>
        <translation>文字起こし</translation>
    </message>
    <message>
        <source>metrics</source>
        <translation>指標</translation>
    </message>
    <message>
        <source>a deck</source>
        <translation>プレゼンテーション</translation>
    </message>
    <message>
        <source>code</source>
        <translation>コード</translation>
    </message>
    <message>
        <source>an image</source>
        <translation>画像</translation>
    </message>
    <message>
        <source>video</source>
        <translation>動画</translation>
    </message>
    <message>
        <source>audio</source>
        <translation>音声</translation>
    </message>
    <message>
        <source>a sheet</source>
        <translation>表計算</translation>
    </message>
    <message>
        <source>a doc</source>
        <translation>文書</translation>
    </message>
    <message>
        <source>text</source>
        <translation>テキスト</translation>
    </message>
    <message>
        <source>a picture</source>
        <translation>スクリーンショット</translation>
    </message>
</context>
<context>
    <name>Notice</name>
    <message>
        <source>Show</source>
        <translation>表示</translation>
    </message>
    <message>
        <source>Open report</source>
        <translation>レポートを開く</translation>
    </message>
    <message>
        <source>not graded</source>
        <translation>評価なし</translation>
    </message>
    <message>
        <source>no verdict</source>
        <translation>判定なし</translation>
    </message>
    <message>
        <source>Agent: %1</source>
        <translation>エージェント: %1</translation>
    </message>
    <message>
        <source>Agent in %1: %2</source>
        <translation>%1 のエージェント: %2</translation>
    </message>
    <message>
        <source>New verdict: %1</source>
        <translation>新しい判定: %1</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw</source>
        <comment>%n flaws</comment>
        <translation>
            <numerusform>問題点 %n 件</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Panel</name>
    <message>
        <source>Ready to grade</source>
        <translation>評価できます</translation>
    </message>
    <message>
        <source>Others may read your key: chmod 600 ~/.brask/key</source>
        <translation>ほかのユーザーがキーを読み取れます: chmod 600 ~/.brask/key</translation>
    </message>
    <message>
        <source>Get a free key to start grading</source>
        <translation>評価を始めるには無料のキーを取得してください</translation>
    </message>
    <message>
        <source>NOW</source>
        <translation>現在</translation>
    </message>
    <message>
        <source>You&apos;re in %1</source>
        <translation>%1 を使用中</translation>
    </message>
    <message>
        <source>%1 · grades as %2</source>
        <translation>%1 · 評価対象: %2</translation>
    </message>
    <message>
        <source>Bring a supported app to the front</source>
        <translation>対応アプリを前面に表示してください</translation>
    </message>
    <message>
        <source>Kelvane works across 90+ apps</source>
        <translation>Kelvane は 90 以上のアプリに対応しています</translation>
    </message>
    <message>
        <source>%1 isn&apos;t in the catalog yet</source>
        <translation>%1 はまだカタログにありません</translation>
    </message>
    <message>
        <source>Judged by %1</source>
        <translation>判定: %1</translation>
    </message>
    <message>
        <source>Not checked: %1</source>
        <translation>未確認: %1</translation>
    </message>
    <message>
        <source>A picture of a window of %1</source>
        <translation>%1 のウィンドウの画像</translation>
    </message>
    <message>
        <source>What was selected in %1</source>
        <translation>%1 で選択されていた内容</translation>
    </message>
    <message>
        <source>Full report</source>
        <translation>詳細レポート</translation>
    </message>
    <message>
        <source>+%1 more</source>
        <translation>ほか %1 件</translation>
    </message>
    <message>
        <source>Nobody here can judge this kind of work.</source>
        <translation>この種類の作業はここでは判定できません。</translation>
    </message>
    <message>
        <source>Clears your bar — ready to ship.</source>
        <translation>基準を満たしています。提出できます。</translation>
    </message>
    <message>
        <source>Held below your bar. No itemised flaws returned.</source>
        <translation>基準に達していません。個別の問題点は返されませんでした。</translation>
    </message>
    <message>
        <source>Verdict: %1.</source>
        <translation>判定: %1。</translation>
    </message>
    <message>
        <source>No verdict.</source>
        <translation>判定なし。</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw.</source>
        <comment>%n flaws.</comment>
        <translation>
            <numerusform>問題点 %n 件。</numerusform>
        </translation>
    </message>
    <message>
        <source>Grading… the critic may be warming up</source>
        <translation>評価中… 評価エンジンの準備に時間がかかることがあります</translation>
    </message>
    <message>
        <source>Nobody says which window is in front.</source>
        <translation>どのウィンドウが前面にあるのか分かりません。</translation>
    </message>
    <message>
        <source>Grade this</source>
        <translation>評価する</translation>
    </message>
    <message>
        <source>Iterate</source>
        <translation>再評価</translation>
    </message>
    <message>
        <source>Get a free key to start grading →</source>
        <translation>無料のキーを取得して評価を始める →</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
    <message>
        <source>Cancel the grade</source>
        <translation>評価をキャンセル</translation>
    </message>
    <message>
        <source>AGENTS</source>
        <translation>エージェント</translation>
    </message>
    <message>
        <source>No coding agents detected yet</source>
        <translation>コーディングエージェントはまだ見つかっていません</translation>
    </message>
    <message>
        <source>WORKFLOW</source>
        <translation>ワークフロー</translation>
    </message>
    <message>
        <source>multi-modal</source>
        <translation>マルチモーダル</translation>
    </message>
    <message>
        <source>Wire my tools</source>
        <translation>ツールを連携</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>設定</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>ほか %1 件</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw</source>
        <comment>%n flaws</comment>
        <translation>
            <numerusform>問題点 %n 件</numerusform>
        </translation>
    </message>
    <message>
        <source>+%1 more in the full report</source>
        <translation>ほか %1 件は詳細レポートにあります</translation>
    </message>
</context>
<context>
    <name>Preview</name>
    <message>
        <source>PREVIEW</source>
        <translation>プレビュー</translation>
    </message>
    <message>
        <source>This goes to %1</source>
        <translation>送信先: %1</translation>
    </message>
    <message>
        <source>This stays on this machine</source>
        <translation>このマシンの外には送信されません</translation>
    </message>
    <message>
        <source>A picture of a window of %1, %2</source>
        <translation>%1 のウィンドウの画像、%2</translation>
    </message>
    <message>
        <source>The text selected in %1, %2</source>
        <translation>%1 で選択したテキスト、%2</translation>
    </message>
    <message>
        <source>The picture that is sent</source>
        <translation>送信される画像</translation>
    </message>
    <message>
        <source>The text that is sent</source>
        <translation>送信されるテキスト</translation>
    </message>
    <message>
        <source>Don&apos;t ask again for %1</source>
        <translation>%1 では今後確認しない</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>送信</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
    <message>
        <source>%1 kB</source>
        <translation>%1 kB</translation>
    </message>
    <message numerus="yes">
        <source>%n character</source>
        <comment>%n characters</comment>
        <translation>
            <numerusform>%n 文字</numerusform>
        </translation>
    </message>
    <message>
        <source>What comes after the first %1 characters is left out: more is not judged at once.</source>
        <translation>最初の %1 文字より後は省略されます。一度に判定できるのはそこまでです。</translation>
    </message>
    <message>
        <source>Sent with it: the application&apos;s name, what kind of work it is (%1) and %2 as its name.</source>
        <translation>一緒に送信されるもの: アプリケーションの名前、作業の種類（%1）、名前としての %2。</translation>
    </message>
    <message>
        <source>Nothing of other windows is in the picture.</source>
        <translation>ほかのウィンドウは画像に含まれません。</translation>
    </message>
    <message>
        <source>Nothing of the document but this text is sent.</source>
        <translation>文書からは、このテキスト以外は何も送信されません。</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>「%1」</translation>
    </message>
</context>
<context>
    <name>RemovableRow</name>
    <message>
        <source>Remove</source>
        <translation>取り除く</translation>
    </message>
    <message>
        <source>Remove %1</source>
        <translation>%1 を取り除く</translation>
    </message>
</context>
<context>
    <name>Sentence</name>
    <message>
        <source>Couldn&apos;t capture anything to grade.</source>
        <translation>評価する内容を取り込めませんでした。</translation>
    </message>
    <message>
        <source>Nothing was sent.</source>
        <translation>何も送信していません。</translation>
    </message>
    <message>
        <source>Grade cancelled.</source>
        <translation>評価をキャンセルしました。</translation>
    </message>
    <message>
        <source>No saved file that was opened lately holds this text.</source>
        <translation>最近開いた保存済みのファイルに、このテキストを含むものはありません。</translation>
    </message>
    <message>
        <source>Does not count any more.</source>
        <translation>今後は問題点として数えません。</translation>
    </message>
    <message>
        <source>“%1” is in your dictionary.</source>
        <translation>「%1」を辞書に追加しました。</translation>
    </message>
    <message>
        <source>Taken back.</source>
        <translation>取り消しました。</translation>
    </message>
    <message>
        <source>Copied.</source>
        <translation>コピーしました。</translation>
    </message>
    <message>
        <source>Could not be said: %1</source>
        <translation>伝えられませんでした: %1</translation>
    </message>
    <message numerus="yes">
        <source>Paused for %n more minute.</source>
        <comment>Paused for %n more minutes.</comment>
        <translation>
            <numerusform>あと %n 分間停止中です。</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing is captured from %1: it keeps passwords.</source>
        <translation>%1 はパスワードを保管するため、何も取り込みません。</translation>
    </message>
    <message>
        <source>Nothing is captured from %1, as you set it.</source>
        <translation>設定に従い、%1 からは何も取り込みません。</translation>
    </message>
    <message>
        <source>No text selection found — graded a screenshot of %1&apos;s window. Select text first for a text grade.</source>
        <translation>テキストが選択されていないため、%1 のウィンドウのスクリーンショットを評価しました。テキストを評価するには、先に選択してください。</translation>
    </message>
    <message>
        <source>Grant Accessibility (System Settings ▸ Privacy) to grade your text selection; graded a window screenshot for now.</source>
        <translation>選択したテキストを評価するには、アクセシビリティを許可してください（システム設定 ▸ プライバシー）。今回はウィンドウのスクリーンショットを評価しました。</translation>
    </message>
    <message>
        <source>%1 isn&apos;t running anymore — open it and press Grade.</source>
        <translation>%1 はもう実行されていません。開いてから「評価する」を押してください。</translation>
    </message>
    <message>
        <source>Graded a frame of %1. For the full render, export the file and run `brask grade &lt;file&gt;`.</source>
        <translation>%1 の 1 フレームを評価しました。全体を評価するには、ファイルを書き出して `brask grade &lt;file&gt;` を実行してください。</translation>
    </message>
    <message>
        <source>Couldn&apos;t capture %1&apos;s window — grant Screen Recording in System Settings ▸ Privacy, and make sure the window is open on screen.</source>
        <translation>%1 のウィンドウを取り込めませんでした。システム設定 ▸ プライバシーで画面収録を許可し、ウィンドウが画面に表示されていることを確認してください。</translation>
    </message>
    <message>
        <source>the grade was cancelled</source>
        <translation>評価はキャンセルされました</translation>
    </message>
    <message>
        <source>could not reach the eval API</source>
        <translation>評価サービスに接続できませんでした</translation>
    </message>
    <message>
        <source>the service key holds a line break — check BRASK_API_KEY or ~/.brask/key</source>
        <translation>サービスキーに改行が含まれています。BRASK_API_KEY または ~/.brask/key を確認してください</translation>
    </message>
    <message>
        <source>The service answers, but not in a way that can be read.</source>
        <translation>サービスは応答していますが、その内容を読み取れません。</translation>
    </message>
    <message>
        <source>nothing was sent: %1 is not encrypted and was not allowed — see ~/.brask/plain-http</source>
        <translation>何も送信していません。%1 は暗号化されておらず、許可されていません（~/.brask/plain-http を参照）</translation>
    </message>
    <message>
        <source>not authorized — check your Trevix key (HTTP %1)</source>
        <translation>認証されませんでした。Trevix のキーを確認してください（HTTP %1）</translation>
    </message>
    <message>
        <source>eval API error (HTTP %1)</source>
        <translation>評価サービスのエラー（HTTP %1）</translation>
    </message>
    <message>
        <source>grade timed out after %1s</source>
        <translation>%1 秒経過したため、評価がタイムアウトしました</translation>
    </message>
    <message>
        <source>grade failed</source>
        <translation>評価に失敗しました</translation>
    </message>
    <message>
        <source>grade cancelled</source>
        <translation>評価はキャンセルされました</translation>
    </message>
    <message>
        <source>no job_id in response</source>
        <translation>応答に job_id がありません</translation>
    </message>
    <message>
        <source>the service refused</source>
        <translation>サービスに拒否されました</translation>
    </message>
    <message>
        <source>there is no key in %1</source>
        <translation>%1 にキーがありません</translation>
    </message>
    <message>
        <source>%1: others may read or write it; the key in it is not used (make it yours, chmod 600)</source>
        <translation>%1: ほかのユーザーが読み書きできるため、中のキーは使用しません（所有者をご自身にして chmod 600 を実行してください）</translation>
    </message>
    <message>
        <source>this machine</source>
        <translation>このマシン</translation>
    </message>
    <message>
        <source>%1 To read every program and to photograph a window, turn on its Shell extension, then log in again.</source>
        <translation>%1 すべてのプログラムを読み取り、ウィンドウを撮影するには、Kelvane の Shell 拡張機能を有効にして、ログインし直してください。</translation>
    </message>
    <message>
        <source>No desktop answers here: start Kelvane from inside your session.</source>
        <translation>デスクトップが応答しません。ログイン中のセッションから Kelvane を起動してください。</translation>
    </message>
    <message>
        <source>GNOME shows Kelvane the windows of X11 programs only.</source>
        <translation>GNOME では、X11 のプログラムのウィンドウだけが Kelvane に伝わります。</translation>
    </message>
    <message>
        <source>This desktop shows Kelvane the windows of X11 programs only. Log in to an X11 session to have the others graded.</source>
        <translation>このデスクトップでは、X11 のプログラムのウィンドウだけが Kelvane に伝わります。ほかのものを評価するには、X11 セッションにログインしてください。</translation>
    </message>
    <message>
        <source>On GNOME Kelvane reads text from GTK, Qt and Firefox windows.</source>
        <translation>GNOME では、Kelvane は GTK、Qt、Firefox のウィンドウからテキストを読み取ります。</translation>
    </message>
    <message>
        <source>This desktop tells Kelvane only of programs that speak to assistive technology: select text in a GTK, Qt or Firefox window.</source>
        <translation>このデスクトップで Kelvane に伝わるのは、支援技術に対応したプログラムだけです。GTK、Qt、または Firefox のウィンドウでテキストを選択してください。</translation>
    </message>
    <message>
        <source>This desktop lets no program read a selection or photograph a window.</source>
        <translation>このデスクトップでは、プログラムが選択内容を読み取ったり、ウィンドウを撮影したりすることはできません。</translation>
    </message>
    <message>
        <source>KWin lets only an installed Kelvane photograph windows: install the package, or select text.</source>
        <translation>KWin では、インストールされた Kelvane だけがウィンドウを撮影できます。パッケージをインストールするか、テキストを選択してください。</translation>
    </message>
    <message>
        <source>This desktop does not tell where windows are, so none can be photographed: select text.</source>
        <translation>このデスクトップではウィンドウの位置が分からず、撮影できません。テキストを選択してください。</translation>
    </message>
    <message>
        <source>This desktop lets no program read a selection: a picture of the window is graded.</source>
        <translation>このデスクトップではプログラムが選択内容を読み取れないため、ウィンドウの画像を評価します。</translation>
    </message>
    <message>
        <source>On GNOME a window can be photographed once Kelvane&apos;s Shell extension is on; selected text can be graded without.</source>
        <translation>GNOME では、Kelvane の Shell 拡張機能を有効にするとウィンドウを撮影できます。選択したテキストは拡張機能なしでも評価できます。</translation>
    </message>
    <message>
        <source>On this desktop no program may photograph a window: select text instead.</source>
        <translation>このデスクトップではウィンドウを撮影できません。代わりにテキストを選択してください。</translation>
    </message>
    <message>
        <source>On Linux no permission is needed: the window has to be on this workspace, not minimised, and its program has to answer.</source>
        <translation>Linux では許可は不要です。ウィンドウがこのワークスペースにあり、最小化されておらず、プログラムが応答している必要があります。</translation>
    </message>
    <message>
        <source>This keyboard has no key “%1”.</source>
        <translation>このキーボードには「%1」キーがありません。</translation>
    </message>
    <message>
        <source>The display does not answer.</source>
        <translation>ディスプレイが応答しません。</translation>
    </message>
    <message>
        <source>Another program has these keys already, or the desktop itself.</source>
        <translation>これらのキーは、すでにほかのプログラムまたはデスクトップで使われています。</translation>
    </message>
    <message>
        <source>The system gives no more files.</source>
        <translation>システムがこれ以上ファイルを開けません。</translation>
    </message>
    <message>
        <source>Here no program can have keys of its own: give “kelvane --grade” a shortcut in the desktop&apos;s settings.</source>
        <translation>ここではプログラムが独自のキーを持つことはできません。デスクトップの設定で「kelvane --grade」にショートカットを割り当ててください。</translation>
    </message>
    <message>
        <source>The desktop did not give these keys; its own settings of shortcuts may.</source>
        <translation>デスクトップはこのキーを割り当てませんでした。デスクトップのショートカット設定で割り当てられることがあります。</translation>
    </message>
    <message>
        <source>The desktop has taken these keys back; its own settings of shortcuts may give them again.</source>
        <translation>デスクトップがこのキーの割り当てを取り消しました。デスクトップのショートカット設定で再び割り当てられることがあります。</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>is “elsewhere”, “always” or “never”</source>
        <translation>は「elsewhere」「always」「never」のいずれかです</translation>
    </message>
    <message>
        <source>is an object with “always” or “never” for each application</source>
        <translation>は、アプリケーションごとに「always」または「never」を持つオブジェクトです</translation>
    </message>
    <message>
        <source>%1; “%2” has neither</source>
        <translation>%1。「%2」はどちらでもありません</translation>
    </message>
    <message>
        <source>is a list of identifiers of applications</source>
        <translation>は、アプリケーションの識別子のリストです</translation>
    </message>
    <message>
        <source>is a list of texts</source>
        <translation>は、文字列のリストです</translation>
    </message>
    <message>
        <source>has “%1”: %2</source>
        <translation>に「%1」があります: %2</translation>
    </message>
    <message>
        <source>is true or false</source>
        <translation>は true または false です</translation>
    </message>
    <message>
        <source>is a text such as “Ctrl+Alt+G”, or an empty one</source>
        <translation>は「Ctrl+Alt+G」のような文字列、または空の文字列です</translation>
    </message>
    <message>
        <source>is no combination of keys: %1</source>
        <translation>はキーの組み合わせではありません: %1</translation>
    </message>
    <message>
        <source>is %1, or empty for the desktop&apos;s</source>
        <translation>は %1 のいずれか、またはデスクトップに合わせる場合は空です</translation>
    </message>
    <message>
        <source>an identifier is not empty</source>
        <translation>識別子は空にできません</translation>
    </message>
    <message>
        <source>no identifier is that long</source>
        <translation>識別子が長すぎます</translation>
    </message>
    <message>
        <source>“*” stands at the end alone</source>
        <translation>「*」は末尾にだけ置けます</translation>
    </message>
    <message>
        <source>at least three characters stand before “*”</source>
        <translation>「*」の前には 3 文字以上が必要です</translation>
    </message>
    <message>
        <source>longer than any settings are</source>
        <translation>設定としては長すぎます</translation>
    </message>
    <message>
        <source>not JSON from here on; nothing of the file is used</source>
        <translation>ここから先は JSON ではありません。ファイルの内容は使用しません</translation>
    </message>
    <message>
        <source>not an object of JSON</source>
        <translation>JSON のオブジェクトではありません</translation>
    </message>
    <message>
        <source>“%1” %2</source>
        <translation>「%1」%2</translation>
    </message>
    <message>
        <source>stands there twice; the last one counts</source>
        <translation>が 2 回あります。最後のものが有効です</translation>
    </message>
    <message>
        <source>is no setting of this version; it stays as it is</source>
        <translation>はこのバージョンの設定ではありません。そのまま残します</translation>
    </message>
    <message>
        <source>somebody else could have written it; nothing of it is used (make it yours, chmod 600)</source>
        <translation>ほかのユーザーが書き込める状態だったため、使用しません（所有者をご自身にして chmod 600 を実行してください）</translation>
    </message>
    <message>
        <source>cannot be read</source>
        <translation>読み取れません</translation>
    </message>
    <message>
        <source>Mend it, or delete it.</source>
        <translation>ファイルを直すか、削除してください。</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>%1 に書き込めませんでした。</translation>
    </message>
    <message>
        <source>“%1” is none of Ctrl, Alt, Shift and Super.</source>
        <translation>「%1」は Ctrl、Alt、Shift、Super のいずれでもありません。</translation>
    </message>
    <message>
        <source>“%1” stands there twice.</source>
        <translation>「%1」が 2 回あります。</translation>
    </message>
    <message>
        <source>The key is missing, as in Ctrl+Alt+G.</source>
        <translation>キーがありません（例: Ctrl+Alt+G）。</translation>
    </message>
    <message>
        <source>There is no key “%1”.</source>
        <translation>「%1」というキーはありません。</translation>
    </message>
    <message>
        <source>A key that you type with needs Ctrl, Alt or Super beside it.</source>
        <translation>文字を入力するキーには、Ctrl、Alt、Super のいずれかを組み合わせてください。</translation>
    </message>
    <message>
        <source>Work is graded by %1.</source>
        <translation>%1で評価します。</translation>
    </message>
    <message>
        <source>When it leaves this machine</source>
        <translation>このマシンの外に送信するとき</translation>
    </message>
    <message>
        <source>Always</source>
        <translation>常に</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>表示しない</translation>
    </message>
    <message>
        <source>%1: always shown</source>
        <translation>%1: 常に表示</translation>
    </message>
    <message>
        <source>%1: sent without asking</source>
        <translation>%1: 確認せずに送信</translation>
    </message>
    <message>
        <source>Never capture %1</source>
        <translation>%1 から取り込まない</translation>
    </message>
    <message>
        <source>As the desktop</source>
        <translation>デスクトップに合わせる</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>設定</translation>
    </message>
    <message>
        <source>WHERE TO GRADE</source>
        <translation>評価する場所</translation>
    </message>
    <message>
        <source>Choose where to grade…</source>
        <translation>評価する場所を選ぶ…</translation>
    </message>
    <message>
        <source>SHOW WORK BEFORE IT IS SENT</source>
        <translation>送信前に内容を表示</translation>
    </message>
    <message>
        <source>NEVER CAPTURE</source>
        <translation>取り込まないアプリ</translation>
    </message>
    <message>
        <source>Password managers</source>
        <translation>パスワードマネージャー</translation>
    </message>
    <message>
        <source>Identifier of an application that is never captured</source>
        <translation>取り込まないアプリケーションの識別子</translation>
    </message>
    <message>
        <source>As org.example.diary or com.example.*</source>
        <translation>例: org.example.diary、com.example.*</translation>
    </message>
    <message>
        <source>KEYS THAT GRADE WHAT IS IN FRONT</source>
        <translation>評価のショートカット</translation>
    </message>
    <message>
        <source>Keys that grade what is in front</source>
        <translation>前面の内容を評価するキー</translation>
    </message>
    <message>
        <source>None. As Ctrl+Alt+G, then Return</source>
        <translation>なし。例: Ctrl+Alt+G と入力して Return</translation>
    </message>
    <message>
        <source>LANGUAGE</source>
        <translation>言語</translation>
    </message>
    <message>
        <source>CODING TOOLS</source>
        <translation>コーディングツール</translation>
    </message>
    <message>
        <source>Wire my tools</source>
        <translation>ツールを連携</translation>
    </message>
    <message>
        <source>NOTIFICATIONS</source>
        <translation>通知</translation>
    </message>
    <message>
        <source>Verdicts that come while the panel is closed</source>
        <translation>パネルを閉じている間に届いた判定</translation>
    </message>
</context>
<context>
    <name>Shortcut</name>
    <message>
        <source>Grade what is in front</source>
        <translation>前面にあるものを評価</translation>
    </message>
</context>
<context>
    <name>VerdictSection</name>
    <message>
        <source>Show all flaws</source>
        <translation>すべての問題点を表示</translation>
    </message>
</context>
<context>
    <name>Window</name>
    <message>
        <source>History of verdicts</source>
        <translation>判定の履歴</translation>
    </message>
    <message>
        <source>Kelvane Settings</source>
        <translation>Kelvane の設定</translation>
    </message>
</context>
</TS>
