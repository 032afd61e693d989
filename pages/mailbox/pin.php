<!--#include file="parts/mailbox.inc"-->
<?php
// Asks for the PIN of a private folder.
// SPDX-License-Identifier: MIT
$name = $_GET['name'];
$title = words(<!--#phrase id="mailbox.pin.title" format="php"-->, folderTitle($name));
$back = '/mailbox/';
$backTitle = words(<!--#phrase id="mailbox.back" format="php"-->);
$label = <!--#phrase id="mailbox.pin" format="php"-->;
$wrong = <!--#phrase id="mailbox.pin.wrong" format="php"-->;
?>
<!--#include file="parts/mailbox-begin.inc"-->
  <form class="card" method="post" action="/form/HTTP_Parser_Verify_Mbox_Password_fn">
    <!--#token-->
    <?= hidden(['name' => $name]) ?>
    <!--#include file="parts/mailbox-secret.inc"-->
    <p class="buttons">
      <button class="primary"><!--#phrase id="mailbox.pin.submit"--></button>
    </p>
  </form>
</main>
</body>
</html>
