@echo off
rem First boot of an unattended installation: install the guest tools
rem from the upgrader on the installation floppy, then store the
rem automatic-logon settings.
setlocal
set SRC=a:
if exist %SRC%\storePwd.exe if exist %SRC%\storePwd.ini (
  copy /y %SRC%\storePwd.ini "%TEMP%\storePwd.ini" >nul
  %SRC%\storePwd.exe "%TEMP%\storePwd.ini"
  del "%TEMP%\storePwd.ini"
)
if exist %SRC%\upgrader.exe (
  copy /y %SRC%\upgrader.exe "%TEMP%\upgrader.exe" >nul
  start /wait "" "%TEMP%\upgrader.exe" -p "/s /v/qn"
  del "%TEMP%\upgrader.exe"
)
endlocal
