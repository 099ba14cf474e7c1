// The files of the page, and small helpers. Each file is a block of JSON written by tools/gallery/Gallery.cpp.
"use strict";

const $ = (id) => document.getElementById(id);

const files = [...document.querySelectorAll("script.file")].map((block) => JSON.parse(block.textContent));

// From the best to the worst.
const grades = ["right", "noted", "suspect", "wrong", "black", "unreadable"];
const worstFirst = (file) => -grades.indexOf(file.grade);

function element(name, className, text) {
  const made = document.createElement(name);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  return made;
}

function pathOf(file) {
  return file.folder ? `${file.folder}/${file.name}` : file.name;
}

function gradeWord(grade) {
  return element("span", `grade ${grade}`, grade);
}
