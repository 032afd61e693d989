<!--#include file="parts/mailbox.inc"-->
<!--#include file="parts/mailbox-folders.inc"-->
<?php
// The jobs of one folder, their files, and what can be done with them.
// SPDX-License-Identifier: MIT
$gJobPasswords = [];
<!--#parser fn="HTTP_Parser_Folder_Passwords_List_fn" format="php"-->
<!--#parser fn="HTTP_Parser_Job_Passwords_List_fn" format="php"-->
$protected = array_fill_keys(array_keys($gJobPasswords), true);
unset($gJobPasswords);

$name = $_GET['name'];
$isSingle = ($_GET['subf'] ?? '') !== '';
$jobs = json_decode(<!--#jobs format="php"-->, true);
$login = json_decode(<!--#login format="php"-->, true);
$isRefused = json_decode(<!--#posted format="php"-->) !== null;
$isOpened = $gFolderList->find($name)?->isOpenedBy($sid) ?? false;
$title = html(folderTitle($name));
$back = $isSingle ? address('folder.php', ['name' => $name]) : '/mailbox/';
$backTitle = $isSingle
    ? words(<!--#phrase id="mailbox.jobs.all" format="php"-->)
    : words(<!--#phrase id="mailbox.back" format="php"-->);

/** A time in UTC, for people whose browser does not run the script that shows their own. */
function utc(string $time): string
{
    return substr($time, 0, 10) . ' ' . substr($time, 11, 5) . ' UTC';
}

/** The size of a file in the unit that people read easily. */
function size(int $bytes): string
{
    return $bytes < 1_000_000 ? ceil($bytes / 1000) . ' kB' : ceil($bytes / 1_000_000) . ' MB';
}
?>
<!--#include file="parts/mailbox-begin.inc"-->
  <?php if ($jobs === []): ?>
    <p class="empty"><!--#phrase id="mailbox.jobs.none"--></p>
  <?php endif ?>
  <?php foreach ($jobs as $index => ['job' => $key, 'subf' => $subf, 'file' => $file, 'state' => $state, 'files' => $files]): ?>
    <!--#include file="parts/mailbox-job.inc"-->
  <?php endforeach ?>
  <?php if ($isOpened && !$isSingle): ?>
    <details class="card narrow" <?= $isRefused ? 'open' : '' ?>>
      <summary><!--#phrase id="mailbox.pin.change"--></summary>
      <form method="post" action="/form/HTTP_Parser_Mbox_Set_Pass_Usr_fn">
        <!--#token-->
        <?= hidden(['unsafeUser' => $name]) ?>
        <?php [$pinField, $pinId] = ['unsafePasswd', 'pin'] ?>
        <!--#include file="parts/mailbox-new-pin.inc"-->
        <p class="hint"><!--#phrase id="mailbox.pin.change.hint"--></p>
        <p class="buttons"><button><!--#phrase id="mailbox.pin.change"--></button></p>
      </form>
    </details>
    <?php if ($login === null): ?>
      <form class="leave" method="post" action="/do/logout">
        <!--#token-->
        <?= hidden(['NextPage' => '/mailbox/']) ?>
        <button><!--#phrase id="mailbox.leave"--></button>
      </form>
    <?php endif ?>
  <?php endif ?>
  <script type="module" src="/static/mailbox.js"></script>
</main>
</body>
</html>
