# Puts the parts of the page into one file.
foreach(part IN ITEMS page.css page.js worker.js)
  file(READ ${FOLDER}/${part} ${part})
endforeach()
file(READ ${DECODER_FILE} DECODER)
configure_file(${FOLDER}/page.html ${PAGE} @ONLY)
