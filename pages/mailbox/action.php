<!--#include file="parts/mailbox.inc"-->
<?php
// Asks for the job password before a job is opened, a file of it downloaded, or the job deleted.
// SPDX-License-Identifier: MIT
['name' => $name, 'subf' => $subf, 'file' => $file, 'action' => $action] = $_GET;
$job = jobTitle($subf, $file);
$title = match ($action) {
    'opn' => words(<!--#phrase id="mailbox.job.open.title" format="php"-->, $job),
    'dnl' => words(<!--#phrase id="mailbox.job.download.title" format="php"-->, $file),
    'del' => words(<!--#phrase id="mailbox.job.delete.title" format="php"-->, $job),
};
$back = address('folder.php', ['name' => $name]);
$backTitle = html(folderTitle($name));
$label = <!--#phrase id="mailbox.job.password" format="php"-->;
$wrong = <!--#phrase id="mailbox.job.wrong" format="php"-->;
?>
<!--#include file="parts/mailbox-begin.inc"-->
  <p class="lead"><!--#phrase id="mailbox.job.protected"--></p>
  <form class="card" method="post" action="/form/HTTP_Parser_Verify_Job_Password_fn">
    <!--#token-->
    <?= hidden(['name' => $name, 'subf' => $subf, 'file' => $file, 'action' => $action]) ?>
    <!--#include file="parts/mailbox-secret.inc"-->
    <p class="buttons">
      <button class="primary"><!--#phrase id="mailbox.job.submit"--></button>
      <a href="<?= $back ?>"><!--#phrase id="action.cancel"--></a>
    </p>
  </form>
</main>
</body>
</html>
