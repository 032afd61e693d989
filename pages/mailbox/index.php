<!--#include file="parts/mailbox.inc"-->
<!--#include file="parts/mailbox-folders.inc"-->
<?php
// The mailbox folders of the device.
// SPDX-License-Identifier: MIT
$login = json_decode(<!--#login format="php"-->, true);
$folders = $gFolderList->sorted();
$title = words(<!--#phrase id="mailbox.title" format="php"-->);
?>
<!--#include file="parts/mailbox-begin.inc"-->
  <p class="lead"><!--#phrase id="mailbox.lead"--></p>
  <?php if (($login['role'] ?? '') === 'administrator'): ?>
    <p><a href="/mailbox/settings.php"><!--#phrase id="mailbox.settings"--></a></p>
  <?php endif ?>
  <?php if ($folders === []): ?>
    <p class="empty"><!--#phrase id="mailbox.none"--></p>
  <?php endif ?>
  <ul class="templates folders">
    <?php foreach ($folders as $folder): ?>
      <?php $isOpen = !$folder->isPrivate || $folder->isOpenedBy($sid) ?>
      <li>
        <?php if (!$folder->hasUsableName()): ?>
          <span class="name"><?= html($folder->name) ?></span>
          <small><!--#phrase id="mailbox.unusable"--></small>
        <?php else: ?>
          <a href="<?= address($isOpen ? 'folder.php' : 'pin.php', ['name' => $folder->name]) ?>">
            <span class="name"><?= html(folderTitle($folder->name)) ?></span>
            <?php if (!$folder->isPrivate): ?>
              <small><!--#phrase id="mailbox.open"--></small>
            <?php elseif ($isOpen): ?>
              <small class="opened"><!--#phrase id="mailbox.opened"--></small>
            <?php else: ?>
              <small><!--#phrase id="mailbox.needs-pin"--></small>
            <?php endif ?>
          </a>
        <?php endif ?>
      </li>
    <?php endforeach ?>
  </ul>
</main>
</body>
</html>
