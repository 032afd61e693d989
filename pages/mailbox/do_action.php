<!--#include file="parts/mailbox.inc"-->
<?php
// The last step of a download or a deletion: says what will happen, and does it by a button.
// SPDX-License-Identifier: MIT
['name' => $name, 'subf' => $subf, 'file' => $file, 'action' => $action] = $_GET;
$isDeletion = $action === 'del';
$title = $isDeletion
    ? words(<!--#phrase id="mailbox.job.delete.title" format="php"-->, jobTitle($subf, $file))
    : words(<!--#phrase id="mailbox.job.download.title" format="php"-->, $file);
$back = address('folder.php', ['name' => $name]);
$backTitle = html(folderTitle($name));
?>
<!--#include file="parts/mailbox-begin.inc"-->
  <form class="card" method="post" action="/do/job">
    <!--#token-->
    <?= hidden(['name' => $name, 'subf' => $subf, 'file' => $file, 'action' => $action]) ?>
    <?php if ($isDeletion): ?>
      <p><!--#phrase id="mailbox.job.delete.hint"--></p>
    <?php endif ?>
    <p class="buttons">
      <?php if ($isDeletion): ?>
        <button class="danger"><!--#phrase id="action.delete"--></button>
      <?php else: ?>
        <button class="primary"><!--#phrase id="mailbox.job.download"--></button>
      <?php endif ?>
      <a href="<?= $back ?>"><!--#phrase id="action.cancel"--></a>
    </p>
  </form>
</main>
</body>
</html>
