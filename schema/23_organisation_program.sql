-- The organisation form's row of the program table: the form reads its warehouse attributes
-- (xt_billattribute, 仓库属性) under this program id.
INSERT INTO xt_objects (ProgID, progName, progCommandLine, ClassName) VALUES
  (200003, '公司组织设置', '', 'BM');
