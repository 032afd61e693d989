<!--#include file="parts/mailbox.inc"-->
<?php
// What the administrator sets: how the mailbox asks for passwords, the folders and their PINs.
// SPDX-License-Identifier: MIT
$mailbox = json_decode(<!--#mailbox format="php"-->, true);
$posted = array_column(json_decode(<!--#posted format="php"-->, true)['fields'] ?? [], 'value', 'name');
$title = words(<!--#phrase id="mailbox.settings" format="php"-->);
$back = '/mailbox/';
$backTitle = words(<!--#phrase id="mailbox.back" format="php"-->);
$questions = [
    'scanToPublic' => [
        <!--#phrase id="mailbox.set.public" format="php"-->,
        <!--#phrase id="mailbox.set.public.hint" format="php"-->,
    ],
    'publicPasswordEnabled' => [
        <!--#phrase id="mailbox.set.job-password" format="php"-->,
        <!--#phrase id="mailbox.set.job-password.hint" format="php"-->,
    ],
    'promptOnPrivateScan' => [
        <!--#phrase id="mailbox.set.prompt" format="php"-->,
        <!--#phrase id="mailbox.set.prompt.hint" format="php"-->,
    ],
];
$answers = [
    'TRUE' => <!--#phrase id="mailbox.set.yes" format="php"-->,
    'FALSE' => <!--#phrase id="mailbox.set.no" format="php"-->,
];

/** How many jobs a folder has, as HTML. */
function jobCount(int $jobs): string
{
    return words(match ($jobs) {
        0 => <!--#phrase id="mailbox.count.none" format="php"-->,
        1 => <!--#phrase id="mailbox.count.one" format="php"-->,
        default => <!--#phrase id="mailbox.count.some" format="php"-->,
    }, (string) $jobs);
}
?>
<!--#include file="parts/mailbox-begin.inc"-->
  <section class="card" aria-labelledby="scanning">
    <h2 id="scanning"><!--#phrase id="mailbox.set.title"--></h2>
    <form method="post" action="/do/mailbox-settings">
      <!--#token-->
      <?php foreach ($questions as $key => [$question, $hint]): ?>
        <?php $stored = $mailbox[$key] ? 'TRUE' : 'FALSE' ?>
        <fieldset class="control" aria-describedby="<?= $key ?>-hint">
          <legend><?= html($question) ?></legend>
          <?php foreach ($answers as $value => $answer): ?>
            <label class="box"><input type="radio" name="<?= $key ?>" value="<?= $value ?>" <?= ($posted[$key] ?? $stored) === $value ? 'checked' : '' ?>> <?= html($answer) ?></label>
          <?php endforeach ?>
          <p class="hint" id="<?= $key ?>-hint"><?= html($hint) ?></p>
        </fieldset>
      <?php endforeach ?>
      <p class="buttons"><button class="primary"><!--#phrase id="mailbox.set.submit"--></button></p>
    </form>
  </section>

  <section class="card" aria-labelledby="folders">
    <h2 id="folders"><!--#phrase id="mailbox.set.folders"--></h2>
    <p class="hint"><!--#phrase id="mailbox.set.folders.hint"--></p>
    <?php foreach ($mailbox['folders'] as $index => ['name' => $name, 'private' => $isPrivate, 'pin' => $mayHavePin, 'jobs' => $jobs]): ?>
      <!--#include file="parts/mailbox-folder-settings.inc"-->
    <?php endforeach ?>
  </section>

  <section class="card" aria-labelledby="new-folder">
    <h2 id="new-folder"><!--#phrase id="mailbox.folder.create"--></h2>
    <form class="narrow" method="post" action="/do/folder">
      <!--#token-->
      <?= hidden(['what' => 'create']) ?>
      <div class="control">
        <label for="name"><!--#phrase id="mailbox.folder.name"--></label>
        <input id="name" name="name" required autocomplete="off" aria-describedby="name-hint" value="<?= html(($posted['what'] ?? '') === 'create' ? $posted['name'] : '') ?>">
        <p class="hint" id="name-hint"><!--#phrase id="mailbox.folder.name.hint"--></p>
      </div>
      <p class="buttons"><button class="primary"><!--#phrase id="mailbox.folder.create"--></button></p>
    </form>
  </section>
</main>
</body>
</html>
